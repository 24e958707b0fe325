// Do the parts of a page hear of each change, once, when it is there to read?
import assert from "node:assert";
import test from "node:test";

import * as state from "../../../web/model/state.js";

const scan = { zones: [] };
const inputs = () => [{ file: "a", camera: "gate", seconds: 100, lines: [1, 2, 3].map((length) => (
  { type: "event", event: length, start: 10 * length, end: 11 * length, boxes: [] })) }];
const heard = [];

for (const what of ["shown", "picked", "rows", "view", "theme"]) {
  state.when(what, (...values) => heard.push([what, ...values]));
}

function hearing(act) {
  heard.length = 0;
  act();
  return heard.map((one) => one.join(" "));
}

test("a change is told after it was made", () => {
  state.open(scan, inputs());
  assert.equal(state.events.length, 3);
  assert.deepEqual(hearing(() => state.setClock(false)), ["rows"]);
  assert.deepEqual(state.view, { from: 0, to: 100 });
  assert.deepEqual(hearing(() => state.zoom(0.5)), ["view"]);
  assert.deepEqual(state.view, { from: 25, to: 75 });
  assert.deepEqual(hearing(() => state.reveal({ from: 30, to: 31 })), [], "nothing has moved");
  assert.deepEqual(hearing(() => state.reveal({ from: 20, to: 21 })), ["view"]);
  assert.deepEqual(hearing(state.showAll), ["view"]);
  assert.deepEqual(hearing(() => state.setTheme("dark")), ["theme"]);
  assert.equal(state.theme, "dark");
});

test("steps lead through what is shown, from none to the first, and end there", () => {
  state.want({ ...state.wanted, longest: 2 });
  const steps = [1, 1, 1, -1, -1].map((by) => [hearing(() => state.step(by)).join(), state.picked.event].join(":"));
  assert.deepEqual(steps, ["picked false:1", "picked false:2", ":2", "picked false:1", ":1"]);
  assert.deepEqual(hearing(() => state.pick(state.events[2], true)), ["picked true"]);
  state.step(1);
  assert.equal(state.picked, state.shown[0], "what was picked is not shown");
});
