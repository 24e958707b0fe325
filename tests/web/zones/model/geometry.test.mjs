// Is a polygon judged as mdscan judges it, and does it stay in the picture?
import assert from "node:assert";
import test from "node:test";

import { contains, middleOf, nearest, polygonTrouble, rounded, shifted } from "../../../../web/zones/model/geometry.js";

test("sound polygons have no trouble", () => {
  assert.equal(polygonTrouble([[0, 0], [1, 0], [1, 1], [0, 1]]), "");
  assert.equal(polygonTrouble([[0, 0], [0.5, 0], [1, 0], [1, 1], [0, 1]]), "", "a corner on a straight line");
  assert.equal(polygonTrouble([[0, 0], [1, 0], [0.2, 0.2], [0, 1]]), "", "not convex");
});

test("what crosses or touches itself is told in mdscan's words", () => {
  assert.equal(polygonTrouble([[0, 0], [1, 1], [1, 0], [0, 1]]), "the line from [0] to [1] crosses the one from [2] to [3]");
  assert.equal(polygonTrouble([[0, 0], [0.5, 0.5], [1, 1]]), "encloses nothing");
  assert.equal(polygonTrouble([[0, 0], [1, 1], [1, 1], [0, 1]]), "corners [1] and [2] are the same");
  assert.match(polygonTrouble([[0, 0], [1, 0], [0.5, 0.5], [1, 1], [0, 1], [0.5, 0.5]]), /crosses/, "a corner met twice");
  assert.match(polygonTrouble([[0, 0], [1, 0], [1, 1], [0.5, 0], [0, 1]]), /crosses/, "a corner on another line");
  assert.match(polygonTrouble([[0, 0], [1, 0], [0.5, 0], [0, 1]]), /runs back/);
});

test("left and upper edges belong to a polygon", () => {
  const square = [[0.25, 0.25], [0.75, 0.25], [0.75, 0.75], [0.25, 0.75]];
  for (const [place, inside] of [[[0.5, 0.5], true], [[0.25, 0.25], true], [[0.75, 0.5], false], [[0.5, 0.75], false]]) {
    assert.equal(contains(square, place), inside, String(place));
  }
});

test("a polygon is moved as far as all of it stays in the picture", () => {
  const triangle = [[0.1, 0.2], [0.5, 0.2], [0.5, 0.9]];
  assert.deepEqual(shifted(triangle, 0.25, 0.05), [[0.35, 0.25], [0.75, 0.25], [0.75, 0.95]]);
  assert.deepEqual(shifted(triangle, 7, -7), [[0.6, 0], [1, 0], [1, 0.7]]);
});

test("corners are set finer than a pixel, within the picture", () => {
  assert.equal(rounded(1 / 3), 0.33333);
  assert.equal(rounded(-0.1), 0);
  assert.equal(rounded(1.1), 1);
  assert.deepEqual(middleOf([0, 0], [1 / 3, 1]), [0.16667, 0.5]);
});

test("the nearest place within reach, in pixels of what is shown", () => {
  const wide = { width: 1000, height: 100 }, places = [[0, 0], [0.5, 0.5]];
  assert.equal(nearest(places, [0.509, 0.5], wide, 10), 1);
  assert.equal(nearest(places, [0.52, 0.5], wide, 10), -1);
  assert.equal(nearest(places, [0, 0.09], wide, 10), 0);
  assert.equal(nearest([], [0, 0], wide, 10), -1);
});
