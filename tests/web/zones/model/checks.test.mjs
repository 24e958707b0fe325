// Which blocks does a zone cover, and what would mdscan say of it?
import assert from "node:assert";
import test from "node:test";

import { effectOf, errorsOf, fileErrors, isSound, warningsOf } from "../../../../web/zones/model/checks.js";
import { countOf, coveredBlocks, extentOf, hasRoom } from "../../../../web/zones/model/coverage.js";
import { readZones } from "../../../../web/zones/model/zonefile.js";

const grid = { width: 40, height: 30, block: 10, columns: 4, rows: 3 };
const rectangle = (x, y, w, h) => [[x, y], [x + w, y], [x + w, y + h], [x, y + h]];
const covered = (polygon, on = grid) => Array.from(coveredBlocks(polygon, on)).join("");
const triangle = "\"polygon\": [[0, 0], [1, 0], [0, 1]]";
const zonesOf = (...fields) => readZones("{\"zones\": [" + fields.map((one) => "{" + one + "}").join() + "]}").zones;

test("a block belongs to a zone where its centre is", () => {
  assert.equal(covered(rectangle(0, 0, 1, 1)), "111111111111");
  assert.equal(covered(rectangle(0, 0, 0.5, 1)), "110011001100");
  assert.equal(covered(rectangle(0.25, 0.34, 0.5, 0.3)), "000001100000");
  assert.equal(covered([[0, 0], [1, 0], [0, 1]]), "111011001000");
  const ragged = { width: 41, height: 31, block: 10, columns: 5, rows: 4 };
  assert.equal(countOf(coveredBlocks(rectangle(0, 0, 1, 1), ragged)), 20);
});

test("a polygon without a centre is a chain of blocks, one at least", () => {
  assert.equal(covered([[0, 0.4], [1, 0.4], [1, 0.41], [0, 0.41]]), "000011110000");
  assert.equal(covered(rectangle(0.99, 0.99, 0.005, 0.005)), "000000000001");
  assert.equal(covered(rectangle(0, 0, 0.001, 0.001)), "100000000000");
  assert.equal(countOf(coveredBlocks(rectangle(0.126, 0, 0.24, 1), grid)), 3);
});

test("extents are counted in whole blocks", () => {
  assert.deepEqual(extentOf(0.03, { columns: 128, rows: 72 }), { columns: 3, rows: 2 });
});

test("an object has room where blocks lie within its reach of one another", () => {
  const room = (digits, columns, rows) => hasRoom(Uint8Array.from(digits, Number), grid, { columns, rows });
  assert.equal(room("110011000000", 2, 2), true);
  assert.equal(room("110011000000", 3, 1), false);
  assert.equal(room("110011000000", 1, 3), false);
  assert.equal(room("101000000000", 3, 1), true, "two columns apart");
  assert.equal(room("100100000000", 4, 1), false, "three apart");
  assert.equal(room("100001000010", 3, 3), true, "on a slant");
  assert.equal(room("100000001000", 1, 3), false, "two rows apart");
  assert.equal(room("000110000000", 4, 2), false, "the next row begins at the other side");
  assert.equal(room("000000000000", 0, 0), false);
});

test("what mdscan refuses is an error of its zone", () => {
  const mistakes = [
    [triangle, /has no name/], ["\"name\": \"\", " + triangle, /has no name/], ["\"name\": 3, " + triangle, /has no name/],
    ["\"name\": \"ok\", " + triangle, /another zone is called "ok"/], ["\"name\": \"a\"", /either/],
    ["\"name\": \"a\", \"mask\": \"m\", " + triangle, /either/], ["\"name\": \"a\", \"mask\": 1", /PNG/],
    ["\"name\": \"a\", \"name\": \"b\", " + triangle, /"name" is given twice/],
    ["\"name\": \"a\", \"colour\": 1, " + triangle, /unknown key "colour"/],
    ["\"name\": \"a\", \"exclude\": 1, " + triangle, /true or false/],
    ["\"name\": \"a\", \"min_size\": 1e400, " + triangle, /smallest object: must be a number from 0 to 1/],
    ["\"name\": \"a\", \"max_size\": -1, " + triangle, /largest object: must be a number from 0 to 1/],
    ["\"name\": \"a\", \"max_size\": 0.1, \"min_size\": 0.2, " + triangle, /smaller than the smallest/],
    ["\"name\": \"a\", \"max_size\": 0.1, \"exclude\": true, " + triangle, /no meaning/],
    ["\"name\": \"a\", \"polygon\": [[0, 0], [1, 1]]", /at least three/], ["\"name\": \"a\", \"polygon\": 3", /at least three/],
    ["\"name\": \"a\", \"polygon\": [[0, 0], [1, 1], [0, 1.2]]", /corner \[2\] lies outside/],
    ["\"name\": \"a\", \"polygon\": [[0, 0], [1, 1], [1, 0], [0, 1]]", /crosses/],
  ];
  for (const [fields, error] of mistakes) {
    const zones = zonesOf("\"name\": \"ok\", " + triangle, fields), errors = errorsOf(zones[1], zones);
    assert.equal(errors.length, 1, fields + ": " + errors);
    assert.match(errors[0], error);
    assert.equal(isSound(zones), false);
  }
  const sound = zonesOf("\"name\": \"a\", \"min_size\": 0, \"max_size\": 1, " + triangle,
                        "\"name\": \"b\", \"mask\": \"m.png\", \"exclude\": true");
  assert.deepEqual(sound.flatMap((zone) => errorsOf(zone, sound)), []);
  assert.equal(isSound(sound), true);
});

test("a file has zones, and no more than an object can remember", () => {
  const many = (count, more = "") => zonesOf(...Array.from({ length: count }, (_, i) => "\"name\": \"" + i + "\"" + more));
  assert.deepEqual(fileErrors([]), ["there is no zone"]);
  assert.deepEqual(fileErrors(many(64)), []);
  assert.match(fileErrors(many(65))[0], /64/);
  assert.deepEqual(fileErrors(many(65, ", \"exclude\": true")), [], "they are not watched");
});

test("a zone that can find nothing is warned of", () => {
  const facts = { grid: { width: 100, height: 100, block: 10, columns: 10, rows: 10 }, masks: {}, minSize: 0.3, maxSize: 1 };
  const told = (...fields) => {
    const zones = zonesOf(...fields);
    return warningsOf(zones[0], zones, facts).join();
  };
  const zone = (shape, more = "") => "\"name\": \"a\", \"polygon\": " + JSON.stringify(shape) + more;
  const hole = (shape) => zone(shape, ", \"exclude\": true");
  assert.equal(told(zone(rectangle(0, 0, 0.3, 0.3))), "");
  assert.match(told(zone(rectangle(0, 0, 0.3, 0.2))), /: its 6 blocks have no room for 3 by 3, the smallest object that counts$/);
  assert.match(told(zone(rectangle(0, 0, 0.2, 0.3))), /no room/);
  assert.equal(told(zone(rectangle(0, 0, 0.2, 0.2), ", \"min_size\": 0.2")), "", "by its own size");
  assert.equal(told(zone(rectangle(0, 0, 0.1, 0.1), ", \"min_size\": 0")), "");
  assert.match(told(zone(rectangle(0, 0, 0.5, 0.5)), hole(rectangle(0, 0, 0.3, 1))), /no room/, "what is left of it");
  assert.match(told(zone(rectangle(0, 0, 0.5, 0.5)), hole(rectangle(0, 0, 1, 1))), /: excluded are all of its 25 blocks$/);
  assert.match(told(zone(rectangle(0, 0, 0.5, 0.5), ", \"max_size\": 0.05, \"min_size\": 0")), /largest .* 0 by 0 blocks$/);
  assert.match(told(zone(rectangle(0, 0, 0.5, 0.5), ", \"max_size\": 0.2")), /has 3 by 3 blocks, the largest 2 by 2$/);
  assert.equal(told(hole(rectangle(0, 0, 0.1, 0.1))), "", "it is to find nothing");
});

test("a mask covers what mdscan has told of it", () => {
  const zones = zonesOf("\"name\": \"a\", \"mask\": \"m.png\"", "\"name\": \"b\", \"mask\": \"other.png\"",
                        "\"name\": \"c\", \"mask\": \"constructor\"");
  const facts = { grid, masks: { "m.png": Uint8Array.from("110000000000", Number) }, minSize: 0, maxSize: 1 };
  assert.equal(countOf(effectOf(zones[0], zones, facts)), 2);
  assert.equal(effectOf(zones[1], zones, facts), null);
  assert.equal(effectOf(zones[2], zones, facts), null, "of a file that is called like what every object has");
  assert.deepEqual(warningsOf(zones[1], zones, facts), []);
});
