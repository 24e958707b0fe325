// Do places on the canvas and times lead to each other?
import assert from "node:assert";
import test from "node:test";

import { axisHeight, geometryOf, rowHeight } from "../../../web/timeline/geometry.js";

const place = geometryOf(1000, 200, 2 * rowHeight + 5, { from: 50, to: 150 });

test("names take a sixth, within limits", () => {
  assert.deepEqual([300, 1000, 2000].map((width) => geometryOf(width, 1, 0, { from: 0, to: 1 }).gutter), [84, 160, 220]);
  assert.equal(place.across, 832);
});

test("the view spans what the names leave", () => {
  assert.deepEqual([place.xOf(50), place.xOf(100), place.xOf(150)], [160, 576, 992]);
  assert.equal(place.timeOf(place.xOf(75)), 75);
});

test("a row that is scrolled away lies above the axis", () => {
  assert.equal(place.yOf(2), axisHeight - 5);
  assert.equal(place.rowAt(axisHeight), 2);
  assert.equal(place.rowAt(place.yOf(3)), 3);
  assert.equal(place.rowAt(place.yOf(3) - 1), 2);
  assert.deepEqual([place.firstRow, place.lastRow], [2, 10]);
});

test("an event has at least two pixels", () => {
  assert.deepEqual(place.edges(100, 100.01), { left: 576, right: 578 });
  assert.deepEqual(place.edges(100, 150), { left: 576, right: 992 });
});
