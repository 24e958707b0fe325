// Are ticks far enough apart, at round times of the viewer's day, and told apart?
import assert from "node:assert";
import test from "node:test";

import { tellBy } from "../../../web/clock.js";
import { ticksOf, tickStep } from "../../../web/timeline/axis.js";

process.env.TZ = "Asia/Kolkata";                             // half past five hours ahead
const at = (text) => Date.parse(text) / 1000;
const labels = (from, length, width, byClock) =>
  ticksOf({ from, to: from + length }, width, byClock).map((tick) => tick.label).join(" ");

test("84 pixels or more lie between two ticks", () => {
  for (const [length, width, step] of [[1, 840, 0.1], [1, 839, 0.2], [60, 840, 10], [86400, 840, 10800],
    [863000, 840, 86400], [865000, 840, 172800]]) {
    assert.equal(tickStep({ from: 5, to: 5 + length }, width), step, length + " s on " + width);
  }
});

test("seconds begin at a whole step", () => {
  assert.equal(labels(0, 30, 840, false), "0:00 0:05 0:10 0:15 0:20 0:25 0:30");
  assert.equal(labels(7, 20, 840, false), "0:08 0:10 0:12 0:14 0:16 0:18 0:20 0:22 0:24 0:26");
});

test("tenths are those of the tick, not a little less", () => {
  assert.equal(labels(0, 1, 840, false), "0:00.0 0:00.1 0:00.2 0:00.3 0:00.4 0:00.5 0:00.6 0:00.7 0:00.8 0:00.9 0:01.0");
  assert.equal(labels(4.25, 0.3, 84 * 3, false), "0:04.3 0:04.4 0:04.5", "the sum of the second is 4.3999999999999995");
});

test("hours are full in the viewer's zone, and the first of a day tells which", () => {
  assert.equal(labels(at("2026-03-01T14:40:00Z"), 6 * 3600, 84 * 6, true), "21:00 22:00 23:00 03-02 00:00 01:00 02:00");
  tellBy("recording", () => -5 * 3600);
  assert.equal(labels(at("2026-03-01T03:30:00Z"), 3 * 3600, 84 * 3, true), "23:00 03-01 00:00 01:00");
  tellBy("viewer");
  assert.equal(labels(at("2026-03-01T00:00:00Z"), 3 * 86400, 84 * 3 + 1, true), "03-02 03-03 03-04");
  assert.equal(labels(at("2026-03-01T00:00:00Z"), 20, 84 * 4, true), "05:30:00 05:30:05 05:30:10 05:30:15 05:30:20");
});
