// Is a zone file written as it was read, but for what was changed?
import assert from "node:assert";
import test from "node:test";

import * as files from "../../../../web/zones/model/zonefile.js";

const spaced = `{"zones": [
  {"name": "gate",  "polygon": [[0.10, 0.2], [0.4, 0.2], [0.4, 9e-1]], "min_size": 0.05},
  {"name": "trees \\u00e9 ] } \\"", "mask": "trees.png", "exclude": true,
   "note": {"a": [1, {"b": "]"}]}},
  {"polygon": [ [0, 0],[1,0], [0,1] ], "name": "last"}
]}
`;
const shapes = [spaced, spaced.replaceAll("\n", "\r\n"), "\ufeff" + spaced, JSON.stringify(JSON.parse(spaced)),
                JSON.stringify(JSON.parse(spaced), null, "\t"), " { \"zones\" : [ {\"name\":\"a\",\"polygon\":[]} ] } \n\n"];
const ids = (file) => file.zones.map((zone) => zone.id);
const polygon = [[0, 0], [1, 0], [0.5, 1]];

test("what nobody changes is written as it was read", () => {
  for (const text of shapes) {
    assert.equal(files.textOf(files.readZones(text)), text);
  }
});

test("a change leaves the rest alone", () => {
  const file = files.readZones(spaced), [gate, trees, last] = ids(file);
  const changes = [
    [files.withValue(file, gate, "name", "door"), "\"gate\"", "\"door\""],
    [files.withValue(file, gate, "min_size", 0.1), "0.05", "0.1"],
    [files.withValue(file, gate, "min_size"), ", \"min_size\": 0.05", ""],
    [files.withValue(file, gate, "name"), "\"name\": \"gate\",  ", ""],
    [files.withValue(file, gate, "max_size", 0.5), "0.05}", "0.05, \"max_size\": 0.5}"],
    [files.withExclusion(file, trees, false), ", \"exclude\": true", ""],
    [files.withExclusion(file, gate, true), "\"min_size\": 0.05", "\"exclude\": true"],
    [files.withPolygon(file, gate, [[0.1, 0.2], [0.5, 0.25], [0.4, 0.9]]), "[0.4, 0.2]", "[0.5, 0.25]"],
    [files.withPolygon(file, last, [[0, 0], [1, 0], [0.7, 0.7], [0, 1]]), "[0, 0],[1,0], [0,1]",
     "[0, 0],[1,0],[0.7, 0.7],[0,1]"],
    [files.withoutZone(file, last), ",\n  {\"polygon\": [ [0, 0],[1,0], [0,1] ], \"name\": \"last\"}", ""],
    [files.withZone(file, "n", polygon), "\"last\"}",
     "\"last\"},\n  {\"name\": \"n\", \"polygon\": [[0, 0], [1, 0], [0.5, 1]]}"],
  ];
  for (const [changed, from, to] of changes) {
    assert.equal(files.textOf(changed), spaced.replace(from, to));
    assert.deepEqual(JSON.parse(files.textOf(changed)).zones, changed.zones.map((zone) => zone.value));
  }
  assert.equal(files.textOf(file), spaced, "the file before is what it was");
});

test("the first zone goes, and those behind it follow as they did", () => {
  const file = files.readZones(spaced), left = files.withoutZone(file, ids(file)[0]);
  assert.equal(files.textOf(left), spaced.replace(/\{"name": "gate".*,\n {2}/, ""));
  const none = ids(left).reduce(files.withoutZone, left);
  assert.equal(files.textOf(none), "{\"zones\": [\n  \n]}\n");
  const again = files.textOf(files.withZone(files.withZone(none, "a", polygon), "b", polygon));
  assert.equal(again.split("\n").length, 5, "a line for each");
  assert.equal(JSON.parse(again).zones.length, 2);
});

test("a file without spaces gets none", () => {
  const file = files.readZones(JSON.stringify({ zones: [{ name: "a", polygon }] }));
  const more = files.withValue(files.withZone(file, "b", polygon), ids(file)[0], "max_size", 0.5);
  const moved = files.withPolygon(more, ids(file)[0], [[0, 0], [0.9, 0.1], [0.5, 1]]);
  assert.doesNotMatch(files.textOf(moved), /\s/);
  assert.deepEqual(JSON.parse(files.textOf(moved)).zones[0], { name: "a", polygon: [[0, 0], [0.9, 0.1], [0.5, 1]],
                                                               max_size: 0.5 });
});

test("what is no zone file is refused with its reason", () => {
  for (const [text, reason] of [["", /JSON/], ["[]", /no list/], ["{}", /no list/], ["{\"zones\": {}}", /no list/],
    ["{\"zones\": [1]}", /zones\[0\] is no object/], ["{\"zones\": [], \"more\": 1}", /more than/], [spaced.slice(1), /JSON/],
    ["{\"zones\": [], \"zones\": []}", /twice/]]) {
    assert.throws(() => files.readZones(text), reason, text);
  }
});

test("corners that cannot be drawn are none", () => {
  const read = (shape) => files.cornersOf(files.readZones("{\"zones\": [{" + shape + "}]}").zones[0]);
  assert.deepEqual(read("\"polygon\": [[0, 1]]"), [[0, 1]]);
  for (const shape of ["", "\"polygon\": 1", "\"polygon\": [[0]]", "\"polygon\": [[0, \"1\"]]", "\"polygon\": [[0, 1e400]]"]) {
    assert.equal(read(shape), null);
  }
});

test("a new zone has a name of its own", () => {
  assert.equal(files.freeName([]), "zone 1");
  assert.equal(files.freeName([{ value: { name: "zone 1" } }, { value: { name: "zone 3" } }]), "zone 2");
});
