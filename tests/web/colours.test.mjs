// Does every zone have a colour, and does an event carry those of all its zones?
import assert from "node:assert";
import test from "node:test";

import { colourBits, coloursOf, palette, zoneColour } from "../../web/colours.js";

const zones = Array.from({ length: palette.length + 2 }, (_, i) => "zone " + i);

test("the palette begins anew where there are more zones", () => {
  assert.equal(zoneColour(zones, "zone 0"), palette[0]);
  assert.equal(zoneColour(zones, "zone 7"), palette[7]);
  assert.equal(zoneColour(zones, "zone 8"), palette[0]);
  assert.equal(zoneColour(zones, "elsewhere"), null);
});

test("no zone has a bit of its own, zones of one colour share one", () => {
  for (const [names, bits] of [[undefined, 1], [[], 1], [["elsewhere"], 1], [["zone 0"], 2], [["zone 7"], 256],
    [["zone 0", "zone 2"], 10], [["zone 0", "zone 8"], 2]]) {
    assert.equal(colourBits(zones, names), bits);
  }
});

test("bits name their colours, in the palette's order", () => {
  assert.deepEqual(coloursOf(1, "plain"), ["plain"]);
  assert.deepEqual(coloursOf(11, "plain"), ["plain", palette[0], palette[2]]);
  assert.deepEqual(coloursOf(511, "plain"), ["plain", ...palette]);
});
