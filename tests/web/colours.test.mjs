// Does every zone have a colour, does an event carry those of all its zones, and is every condition told from the others?
import assert from "node:assert";
import { readFileSync } from "node:fs";
import test from "node:test";

import { colourBits, coloursOf, conditionBit, conditionColour, conditionColoursOf, conditionNames, palette,
         zoneColour } from "../../web/colours.js";

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

test("conditions are those that lines tell, in that order", () => {
  const schema = JSON.parse(readFileSync(new URL("../../docs/mdscan.schema.json", import.meta.url)));
  assert.deepEqual(conditionNames, schema.$defs.condition.properties.condition.enum);
});

test("every condition has a colour that is nobody else's", () => {
  const colours = conditionNames.map(conditionColour);
  assert.equal(new Set([...colours, ...palette]).size, colours.length + palette.length);
  for (const name of conditionNames) {
    assert.deepEqual(conditionColoursOf(conditionBit(name)), [conditionColour(name)]);
  }
  const [first, , third] = conditionNames;
  assert.deepEqual(conditionColoursOf(conditionBit(third) | conditionBit(first)), [first, third].map(conditionColour));
});

// By the rule of the Web Content Accessibility Guidelines, 1 to 21.
function contrast(one, other) {
  const [less, more] = [one, other].map((colour) => {
    const [red, green, blue] = [1, 3, 5].map((at) => parseInt(colour.slice(at, at + 2), 16) / 255).map((part) =>
      part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4);
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  }).sort((a, b) => a - b);
  return (more + 0.05) / (less + 0.05);
}

test("conditions are seen on light and on dark", () => {
  const style = readFileSync(new URL("../../web/base.css", import.meta.url), "utf8");
  const cards = [...style.matchAll(/--card: (#\w{6})/g)].map((found) => found[1]);
  assert.equal(cards.length, 2);
  for (const name of conditionNames) {
    for (const card of cards) {
      assert.ok(contrast(conditionColour(name), card) >= 3, name + " on " + card);   // what they want of graphics
    }
  }
});
