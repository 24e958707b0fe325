// Does the detector see as many pictures a second as were asked for, at times that rise?
import assert from "node:assert";
import test from "node:test";

import { makePacer } from "../../web/detect/pacing.js";

function taken(rate, times) {
  const take = makePacer();
  return times.map((time) => take(time, rate)).filter((time) => time !== null);
}

const clip = (rate, seconds, begin = 0) => Array.from({ length: rate * seconds }, (_, i) => begin + i / rate);

test("every second picture of 12 a second, and as many of 30 as near as can be", () => {
  assert.deepEqual(taken(6, clip(12, 1)), [0, 167, 333, 500, 667, 833]);
  assert.equal(taken(6, clip(30, 10)).length, 60);
  assert.equal(taken(8, clip(30, 10)).length, 80);
  assert.equal(taken(7, clip(25, 20, 100)).length, 140);
});

test("all pictures where there are fewer", () => {
  assert.equal(taken(15, clip(12, 2)).length, 24);
});

test("times begin with 0 and rise, also where a video begins again", () => {
  const times = taken(6, [...clip(12, 3, 7), ...clip(12, 3), 0, 0.5]);
  assert.equal(times[0], 0);
  assert.ok(times.every((time, i) => i === 0 || time > times[i - 1]), times.join());
  assert.equal(times.length, 18 + 18 + 2);
});

test("a video that was set forward is taken up at once, and one picture at a time", () => {
  assert.deepEqual(taken(5, [0, 0.2, 60, 60.1, 60.2, 60.3, 60.4]), [0, 200, 60000, 60200, 60400]);
});

test("another rate holds at once, and times go on", () => {
  const take = makePacer();
  assert.deepEqual([0, 0.5, 1].map((time) => take(time, 1)), [0, null, 1000]);
  assert.deepEqual([1.2, 1.3, 1.4].map((time) => take(time, 10)), [1200, 1300, 1400]);
});
