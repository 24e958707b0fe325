// Are conditions summed up by kind, and those found that an event saw?
import assert from "node:assert";
import test from "node:test";

import { conditionsDuring, sumsOf } from "../../../web/model/conditions.js";

const one = (condition, start, end) => ({ condition, start, end, length: end - start });

test("each kind is summed once, in the order of the kinds", () => {
  assert.deepEqual(sumsOf([one("covered", 50, 80), one("shaking", 0, 5), one("shaking", 20, 27)]),
    [{ name: "shaking", times: 2, seconds: 12 }, { name: "covered", times: 1, seconds: 30 }]);
  assert.deepEqual(sumsOf([]), []);
});

test("a condition is an event's where they touch", () => {
  const conditions = [one("light", 0, 9.9), one("shaking", 5, 10), one("moved", 12, 13), one("covered", 20, 30),
                      one("frozen", 20.1, 30), one("rain-like", 0, 99)];
  const event = { start: 10, end: 20, input: { conditions } };
  assert.deepEqual(conditionsDuring(event).map((each) => each.condition), ["shaking", "moved", "covered", "rain-like"]);
});
