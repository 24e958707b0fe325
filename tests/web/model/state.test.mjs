// Do the parts of a page hear of each change, once, when it is there to read?
import assert from "node:assert";
import test from "node:test";

import * as state from "../../../web/model/state.js";

const scan = { zones: [] };
const inputs = () => [{ file: "a", camera: "gate", seconds: 100, lines: [1, 2, 3].map((length) => (
  { type: "event", event: length, start: 10 * length, end: 11 * length, boxes: [] })) }];
const heard = [];

for (const what of ["shown", "picked", "judged", "rows", "view", "teller", "theme"]) {
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

test("marks are told once, and hide only where a filter says so", () => {
  const [first, second, third] = state.events;
  state.want({ ...state.wanted, longest: Infinity });
  assert.equal(hearing(() => state.judge([[second, "keep"]], true)).length, 1);
  assert.deepEqual(heard, [["judged", [[second, "keep"]], true]]);
  assert.deepEqual(hearing(() => state.judge([[second, "keep"], [first, ""]], true)), [], "nothing has changed");
  state.want({ ...state.wanted, marks: new Set(["", "keep"]) });
  assert.equal(state.shown.length, 3);
  hearing(() => state.judge([[third, "seen"]], false));
  assert.deepEqual(heard.map(([what]) => what), ["shown", "judged"]);
  assert.deepEqual(heard[0], ["shown", true], "in place");
  assert.deepEqual(state.shown, [first, second]);
});

test("from an event that its mark has hidden, steps lead to its neighbours", () => {
  const [first, second, third] = state.events, mark = (event, its) => state.judge([[event, its]], true);
  mark(second, "");
  mark(third, "");
  state.want({ ...state.wanted, marks: new Set([""]) });
  state.pick(second, false);
  mark(second, "seen");
  assert.deepEqual(state.shown, [first, third]);
  assert.deepEqual([state.neighbour(-1), state.neighbour(1)], [first, third]);
  mark(second, "false");
  assert.equal(state.neighbour(1), third, "still from there");
  state.step(1);
  assert.equal(state.picked, third);
  mark(third, "seen");
  assert.deepEqual([state.neighbour(-1), state.neighbour(1)], [first, undefined]);
  state.want({ ...state.wanted });
  assert.deepEqual([state.neighbour(-1), state.neighbour(1)], [undefined, first], "a new choice, a new beginning");
});

test("a range is wanted once, or follows what is in view until something else is wanted", () => {
  const byTime = () => state.shown.map((event) => event.event).join("");
  state.want({ ...state.wanted, words: [], marks: new Set(), shortest: 0, longest: Infinity });
  state.setClock(false);
  state.showAll();
  assert.equal(byTime(), "123");
  assert.deepEqual(hearing(() => state.wantRange({ from: 12, to: 20, byClock: false })), ["shown false"]);
  assert.equal(byTime(), "2");
  state.setView({ from: 28, to: 40 });
  assert.deepEqual(hearing(state.followView), [], "nothing follows");
  state.follow(true);
  assert.equal(byTime(), "3");
  state.setView({ from: 0, to: 11 });
  state.followView();
  assert.equal(byTime(), "1");
  state.showAll();
  state.followView();
  assert.equal(byTime(), "123");
  assert.equal(state.isFollowing, true, "all is in view");
  state.wantRange(null);
  assert.equal(state.isFollowing, false);
});

test("seconds of inputs are no time of day", () => {
  state.setClock(false);
  state.wantRange({ from: 12, to: 20, byClock: false });
  state.setClock(true);
  assert.equal(state.wanted.range, null);
  state.wantRange({ from: 12, to: 20, byClock: true });
  state.setClock(false);
  assert.ok(state.wanted.range, "the calendar's stays");
  state.wantRange(null);
});

test("times are told by one clock", () => {
  assert.deepEqual(hearing(() => state.setTeller("utc")), ["teller"]);
  assert.equal(state.teller, "utc");
  state.setTeller("viewer");
});
