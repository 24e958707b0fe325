// Which inputs share a row, which have none, which have conditions below, and what time do all span?
import assert from "node:assert";
import test from "node:test";

import { laidRows } from "../../../web/model/rows.js";

const inputs = () => [
  { file: "1", camera: "gate", begin: 1000, seconds: 60 }, { file: "2", camera: "door", begin: 900, seconds: 50 },
  { file: "3", camera: "gate", begin: null, seconds: 500 }, { file: "4", camera: "gate", begin: 2000, seconds: 10 },
  { file: "5", camera: "roof", begin: 5000, seconds: 0 },
].map((input) => ({ ...input, cameraName: input.camera, conditions: [] }));

test("each input has its row and begins at 0", () => {
  const all = inputs(), { rows, whole } = laidRows(all, false);
  assert.deepEqual(rows.map((row) => row.name), ["1", "2", "3", "4"]);
  assert.deepEqual(all.map((input) => input.row), [0, 1, 2, 3, -1]);
  assert.deepEqual(whole, { from: 0, to: 500 });
});

test("by the clock, a camera's inputs share a row; those without have none", () => {
  const all = inputs(), { rows, whole } = laidRows(all, true);
  const names = rows.map((row) => [row.name, ...row.inputs.map((input) => input.file)]);
  assert.deepEqual(names, [["gate", "1", "4"], ["door", "2"]]);
  assert.deepEqual(all.map((input) => input.row), [0, 1, -1, 0, -1]);
  assert.deepEqual(whole, { from: 900, to: 2010 });
});

test("a camera's inputs stand in the order of their time, whatever the order in which they came", () => {
  const all = inputs();
  all[0].begin = 3000;
  assert.deepEqual(laidRows(all, true).rows[0].inputs.map((input) => input.begin), [2000, 3000]);
  assert.deepEqual(laidRows(all, false).rows.map((row) => row.name), ["1", "2", "3", "4"], "files stay where they are");
});

test("conditions have a row below that of their inputs", () => {
  const all = inputs();
  all[0].conditions = ["a"];
  all[3].conditions = ["b", "c"];
  const { rows } = laidRows(all, true);
  assert.deepEqual(rows.map((row) => [row.name, row.inputs.length, row.conditions.join("")]),
    [["gate", 2, ""], ["conditions", 0, "abc"], ["door", 1, ""]]);
  assert.deepEqual(all.map((input) => input.row), [0, 2, -1, 0, -1]);
  const each = laidRows(all, false).rows;
  assert.deepEqual(each.map((row) => row.name), ["1", "conditions", "2", "3", "4", "conditions"]);
  assert.deepEqual(all.map((input) => input.row), [0, 2, 3, 4, -1]);
});

test("there is a second to see, whatever was read", () => {
  assert.deepEqual(laidRows([{ file: "1", begin: null, seconds: 0.2, conditions: [] }], false).whole, { from: 0, to: 1 });
  assert.deepEqual(laidRows([{ file: "1", begin: 50, seconds: 0.2, conditions: [] }], true).whole, { from: 50, to: 51 });
  assert.deepEqual(laidRows([], true), { rows: [], whole: { from: 0, to: 1 } });
});
