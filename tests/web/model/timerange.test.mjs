// Is everything in a range that reaches into it, and nothing else?
import assert from "node:assert";
import test from "node:test";

import { firstFrom, isWithin, rangeBetween, rangeOfEnds, rangeOfView } from "../../../web/model/timerange.js";

const event = (begin, start, end) => ({ input: { begin }, start, end });

test("an event is in a range that it reaches into", () => {
  const range = { from: 110, to: 120, byClock: true };
  for (const [start, end, within] of [[0, 9.9, false], [0, 10, true], [5, 30, true], [12, 13, true], [20, 25, true],
    [20.1, 25, false]]) {
    assert.equal(isWithin(event(100, start, end), range), within, start + " to " + end);
  }
  assert.equal(isWithin(event(null, 110, 115), range), false, "its time of day is not known");
  assert.equal(isWithin(event(null, 110, 115), { ...range, byClock: false }), true, "seconds of the input are");
  assert.equal(isWithin(event(100, 110, 115), { ...range, from: -Infinity, to: Infinity }), true);
});

test("a sweep has two ends in any order, and a length", () => {
  assert.deepEqual(rangeBetween(7, 3, true, 1), { from: 3, to: 7, byClock: true });
  assert.equal(rangeBetween(7, 6.5, true, 1), null);
});

test("a view of everything is no range", () => {
  const whole = { from: 10, to: 20 };
  assert.equal(rangeOfView(whole, whole, true), null);
  assert.deepEqual(rangeOfView({ from: 10, to: 19 }, whole, false), { from: 10, to: 19, byClock: false });
});

test("either end may be open, not both, and not behind the other", () => {
  assert.deepEqual(rangeOfEnds(5, null), { from: 5, to: Infinity, byClock: true });
  assert.deepEqual(rangeOfEnds(null, 5), { from: -Infinity, to: 5, byClock: true });
  assert.deepEqual([rangeOfEnds(null, null), rangeOfEnds(6, 5)], [null, null]);
});

test("the first event from a time on is the earliest, whatever the order", () => {
  const late = event(200, 0, 5), early = event(100, 50, 60), undated = event(null, 0, 500);
  assert.equal(firstFrom([late, early, undated], 0), early);
  assert.equal(firstFrom([late, early, undated], 160), early, "it goes on by then");
  assert.equal(firstFrom([late, early, undated], 161), late);
  assert.equal(firstFrom([late, early, undated], 206), undefined);
});
