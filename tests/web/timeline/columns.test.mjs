// Does a column keep the colours of all its events, in whatever order they come?
import assert from "node:assert";
import test from "node:test";

import { addBar, runsOf } from "../../../web/timeline/columns.js";

const runs = (bars, first = 0) => {
  const columns = new Uint16Array(10 + 1);
  for (const bar of bars) {
    addBar(columns, ...bar);
  }
  return runsOf(columns, first).map(({ left, right, bits }) => left + "-" + right + ":" + bits).join(" ");
};

test("bars that overlap share their columns", () => {
  const bars = [[1, 5, 1], [3, 8, 2], [3, 4, 4]];
  assert.equal(runs(bars), "1-3:1 3-4:7 4-5:3 5-8:2");
  assert.equal(runs(bars.reverse()), "1-3:1 3-4:7 4-5:3 5-8:2");
});

test("equal neighbours are one run, the last ends with the canvas", () => {
  assert.equal(runs([[0, 2, 1], [2, 4, 1], [8, 99, 2]]), "0-4:1 8-10:2");
  assert.equal(runs([]), "");
  assert.equal(runs([[0, 6, 1]], 4), "4-6:1");
});
