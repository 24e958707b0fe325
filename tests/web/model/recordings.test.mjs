// Is every event told apart from gaps and conditions, and does every input get the time it begins?
import assert from "node:assert";
import test from "node:test";

import { conditionColour, conditionColoursOf } from "../../../web/colours.js";
import { allHaveClock, recordingsOf, someHaveClock } from "../../../web/model/recordings.js";

const moved = { type: "event", start: 4, end: 6.5, zones: ["Gate"] };
const input = (fields, ...lines) => ({ file: "Yard/a.mp4", seconds: 10, lines, ...fields });

test("events and gaps keep the order of their lines and know their input", () => {
  const one = input({}, { type: "gap", start: 1, end: 2 }, { ...moved });
  const other = input({ file: "b.mp4" }, { ...moved, zones: undefined });
  const { events, gaps } = recordingsOf(["Gate"], [one, other]);
  assert.deepEqual(events.map((event) => event.input.file), ["Yard/a.mp4", "b.mp4"]);
  assert.equal(gaps[0].input, one);
  assert.equal(events[0].length, 2.5);
  assert.deepEqual(events.map((event) => event.colours), [2, 1]);
  assert.deepEqual(events.map((event) => event.searched), ["yard/a.mp4\ngate", "b.mp4"]);
  assert.equal(one.lines, null);
  const flashed = recordingsOf([], [input({ file: "c" }, { ...moved, flash: true })]).events[0];
  assert.equal(flashed.searched, "c\ngate\nflash");
});

test("cameras have short names, the folder of the scan, too", () => {
  const inputs = ["rec/gate", "rec/yard", "."].map((camera) => input({ camera }));
  recordingsOf([], inputs);
  assert.deepEqual(inputs.map((one) => one.cameraName), ["gate", "yard", "this folder"]);
});

test("conditions are no events, and known to their input", () => {
  const covered = { type: "condition", condition: "covered", start: 2, end: 3.5, start_time: "2026-03-01T00:00:02Z" };
  const one = input({}, { ...moved }, { type: "gap", start: 1, end: 2 }, { ...covered }), other = input({}, { ...moved });
  const { events, gaps, conditions } = recordingsOf([], [one, other]);
  assert.deepEqual([events.length, gaps.length, conditions.length], [2, 1, 1]);
  assert.deepEqual([one.conditions, other.conditions], [conditions, []]);
  assert.equal(conditions[0].input, one);
  assert.equal(conditions[0].length, 1.5);
  assert.deepEqual(conditionColoursOf(conditions[0].colours), [conditionColour("covered")]);
  assert.equal(one.begin, Date.UTC(2026, 2, 1) / 1000, "they are dated, too");
});

test("an input begins when it says so, else by its first dated event", () => {
  const dated = { ...moved, start_time: "2026-03-01T00:00:10Z" };
  const inputs = [input({ start_time: "2026-02-01T00:00:00Z" }, { ...dated }),
                  input({}, { ...moved }, { ...dated, start: 8 }), input({}, { ...moved })];
  recordingsOf([], inputs);
  assert.deepEqual(inputs.map((one) => one.begin), [Date.UTC(2026, 1, 1) / 1000, Date.UTC(2026, 2, 1) / 1000 + 2, null]);
});

test("what could not be read needs no clock", () => {
  const dated = { begin: 5, seconds: 1 }, undated = { begin: null, seconds: 1 }, unread = { begin: null, seconds: 0 };
  for (const [inputs, some, all] of [[[], false, false], [[unread], false, false], [[undated], false, false],
    [[dated, undated], true, false], [[dated, unread], true, true]]) {
    assert.deepEqual([someHaveClock(inputs), allHaveClock(inputs)], [some, all]);
  }
});
