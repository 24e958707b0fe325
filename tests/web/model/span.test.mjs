// Does the view stay within the whole, and keep what is under the pointer?
import assert from "node:assert";
import test from "node:test";

import { fitted, including, panned, zoomed } from "../../../web/model/span.js";

const whole = { from: 100, to: 200 };

test("a view is neither longer than the whole nor shorter than a second, and lies within", () => {
  for (const [from, to, left, right] of [[110, 120, 110, 120], [90, 110, 100, 120], [190, 210, 180, 200],
    [0, 1000, 100, 200], [150, 150, 149.5, 150.5], [100, 100.2, 100, 101], [199.9, 200, 199, 200]]) {
    assert.deepEqual(fitted({ from, to }, whole), { from: left, to: right });
  }
});

test("a zoom keeps what it is around, by default the middle", () => {
  assert.deepEqual(zoomed(whole, 0.5), { from: 125, to: 175 });
  assert.deepEqual(zoomed(whole, 0.5, 100), { from: 100, to: 150 });
  assert.deepEqual(zoomed(whole, 2, 180), { from: 20, to: 220 });
});

test("a move is a part of the view", () => {
  assert.deepEqual(panned({ from: 100, to: 110 }, -0.2), { from: 98, to: 108 });
});

test("a view moves to an event only where it does not hold it", () => {
  const view = { from: 120, to: 140 };
  assert.equal(including(view, { from: 120, to: 140 }), view);
  assert.deepEqual(including(view, { from: 139, to: 141 }), { from: 130, to: 150 });
  assert.deepEqual(including(view, { from: 110, to: 112 }), { from: 101, to: 121 });
});
