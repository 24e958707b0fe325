// Does every edit become text, and is every one taken back?
import assert from "node:assert";
import test from "node:test";

import * as editing from "../../../../web/zones/model/editing.js";

const text = `{"zones": [
  {"name": "gate", "polygon": [[0.1, 0.2], [0.4, 0.2], [0.4, 0.9]]},
  {"name": "hole", "polygon": [[0.5, 0.5], [1, 0.5], [0.5, 1]], "exclude": true}
]}
`;
let heard = 0;
editing.when(() => { ++heard; });

function values() {
  return JSON.parse(editing.text()).zones;
}

test("a page begins without zones, and has nothing to save", () => {
  assert.deepEqual(values(), []);
  assert.equal(editing.isUnsaved(), false);
  assert.equal(editing.canUndo(), false);
});

test("corners become a zone, which is picked", () => {
  editing.beginDrawing();
  [[0, 0], [0.123456789, -1], [1, 1]].forEach(editing.addCorner);
  editing.moveNewCorner([0.5, 2]);
  editing.closeDrawing();
  assert.deepEqual(values(), [{ name: "zone 1", polygon: [[0, 0], [0.12346, 0], [0.5, 1]] }]);
  assert.equal(editing.picked, editing.zones()[0].id);
  assert.equal(editing.drawn, null);
  assert.equal(editing.isUnsaved(), true);
});

test("two corners are no zone, and undo takes the last one back", () => {
  editing.beginDrawing();
  editing.addCorner([0, 0]);
  editing.addCorner([1, 0]);
  editing.closeDrawing();
  assert.deepEqual(editing.drawn, [[0, 0], [1, 0]]);
  editing.undo();
  assert.deepEqual(editing.drawn, [[0, 0]]);
  editing.undo();
  editing.undo();
  assert.equal(editing.drawn, null);
  assert.equal(editing.zones().length, 1);
});

test("a file takes the place of all, which can be taken back", () => {
  const before = editing.text();
  editing.open(text, "gate.json");
  assert.equal(editing.text(), text);
  assert.equal(editing.name, "gate.json");
  assert.equal(editing.isUnsaved(), false);
  editing.undo();
  assert.equal(editing.text(), before);
  assert.equal(editing.isUnsaved(), true);
  editing.redo();
  assert.equal(editing.text(), text);
  assert.throws(() => editing.open("{", "broken.json"));
  assert.equal(editing.name, "gate.json");
});

test("every edit is taken back to the letter, and done again", () => {
  editing.begin(text, "gate.json");
  const [gate, hole] = editing.zones().map((zone) => zone.id);
  const edits = [
    () => editing.moveCorner(gate, 1, [0.5, 0.25], "drag 1"), () => editing.moveZone(gate, values()[0].polygon, 0.1, 0.05),
    () => editing.insertCorner(gate, 2), () => editing.removeCorner(gate, 3), () => editing.setName(gate, "d"),
    () => editing.setSize(gate, "min_size", 0.1), () => editing.setSize(gate, "max_size", 0.5),
    () => editing.setSize(gate, "min_size"), () => editing.setExclusion(gate, true), () => editing.setExclusion(hole, false),
    () => editing.removeZone(hole), () => editing.addZone([[0, 0], [1, 0], [0, 1]]),
  ];
  const texts = edits.map((edit) => {
    const before = editing.text();
    edit();
    assert.notEqual(editing.text(), before, String(edit));
    return before;
  });
  const last = editing.text();
  assert.deepEqual(values(), [{ name: "d", polygon: [[0.2, 0.25], [0.6, 0.3], [0.5, 0.95]], exclude: true },
                              { name: "zone 1", polygon: [[0, 0], [1, 0], [0, 1]] }]);
  for (const before of texts.reverse()) {
    editing.undo();
    assert.equal(editing.text(), before);
  }
  assert.equal(editing.canUndo(), false);
  assert.equal(editing.isUnsaved(), false);
  edits.forEach(editing.redo);
  assert.equal(editing.text(), last);
  assert.equal(editing.canRedo(), false);
});

test("a drag and the letters of a name are one step each", () => {
  editing.begin(text, "gate.json");
  const { id } = editing.zones()[0];
  editing.insertCorner(id, 0, "drag 1");
  assert.equal(editing.corner, 1);
  editing.moveCorner(id, 1, [0.2, 0.1], "drag 1");
  editing.moveCorner(id, 1, [0.3, 0.1], "drag 1");
  assert.deepEqual(values()[0].polygon, [[0.1, 0.2], [0.3, 0.1], [0.4, 0.2], [0.4, 0.9]]);
  editing.setName(id, "d");
  editing.setName(id, "do");
  editing.undo();
  assert.equal(values()[0].name, "gate");
  editing.undo();
  assert.equal(editing.text(), text);
  assert.equal(editing.corner, -1, "another one has its place");
});

test("three corners stay, and what was picked is forgotten with its zone", () => {
  editing.begin(text, "gate.json");
  const { id } = editing.zones()[0];
  editing.pick(id, 2);
  editing.removeCorner(id, 2);
  assert.equal(editing.text(), text);
  editing.removeZone(id);
  assert.equal(editing.picked, null);
  assert.equal(editing.corner, -1);
  editing.undo();
  assert.equal(editing.text(), text);
});

test("what changes nothing is no step; parts hear of the rest", () => {
  editing.begin(text, "gate.json");
  editing.setName(editing.zones()[0].id, "gate");
  assert.equal(editing.canUndo(), false);
  editing.setName(editing.zones()[0].id, "door");
  assert.equal(editing.isUnsaved(), true);
  const before = heard;
  editing.noteSaved();
  assert.equal(editing.isUnsaved(), false);
  assert.equal(heard, before + 1);
});
