// Do times, lengths and names read as they should, in the viewer's zone?
import assert from "node:assert";
import test from "node:test";

import { tellBy } from "../../web/clock.js";
import {
  baseName, clockText, countText, dateText, eventTime, lengthText, secondsText, shareText, spanText
} from "../../web/texts.js";

process.env.TZ = "Asia/Kolkata";                             // half past five hours ahead
const at = (text) => Date.parse(text) / 1000;

test("seconds become minutes, then hours; tenths are cut, never rounded up", () => {
  for (const [seconds, plain, precise] of [[0, "0:00", "0:00.0"], [9.99, "0:09", "0:09.9"], [59.96, "0:59", "0:59.9"],
    [60, "1:00", "1:00.0"], [75.25, "1:15", "1:15.2"], [3599.99, "59:59", "59:59.9"], [3600, "1:00:00", "1:00:00"],
    [7275.5, "2:01:15", "2:01:15"], [360000, "100:00:00", "100:00:00"]]) {
    assert.equal(secondsText(seconds, false), plain);
    assert.equal(secondsText(seconds, true), precise);
  }
});

test("a length is in seconds below a minute", () => {
  assert.equal(lengthText(0.04), "0.0 s");
  assert.equal(lengthText(59.9), "59.9 s");
  assert.equal(lengthText(60), "1:00 min");
});

test("the clock is the viewer's", () => {
  assert.equal(clockText(at("2026-03-01T18:29:59.750Z"), true), "23:59:59.7");
  assert.equal(dateText(at("2026-03-01T18:29:59Z")), "2026-03-01");
  assert.equal(clockText(at("2026-03-01T18:30:00Z")), "00:00:00");
  assert.equal(dateText(at("2026-03-01T18:30:00Z")), "2026-03-02");
});

test("or another's, where that tells the times", () => {
  tellBy("utc");
  assert.equal(dateText(at("2026-03-01T18:30:00Z")) + " " + clockText(at("2026-03-01T18:30:00Z")), "2026-03-01 18:30:00");
  tellBy("recording", () => -5 * 3600);
  assert.equal(eventTime({ start: 75.25, input: { begin: at("2026-03-01T00:00:00Z") } }), "2026-02-28 19:01:15");
  tellBy("viewer");
});

test("an event has its time of day where there is one", () => {
  assert.equal(eventTime({ start: 75.25, input: { begin: null } }), "1:15.2");
  assert.equal(eventTime({ start: 75.25, input: { begin: at("2026-03-01T00:00:00Z") } }), "2026-03-01 05:31:15");
});

test("what stands for itself says file, kind, time, length and zones", () => {
  const input = { file: "gate/a.mp4", begin: null };
  assert.equal(spanText({ input, start: 75.25, length: 3, zones: ["road", "lawn"] }), "a.mp4, 1:15.2, 3.0 s, road, lawn");
  assert.equal(spanText({ input, start: 0, length: 60 }), "a.mp4, 0:00.0, 1:00 min");
  assert.equal(spanText({ input, condition: "too dark", start: 0, length: 60 }), "a.mp4, too dark, 0:00.0, 1:00 min");
});

test("a small share has decimals", () => {
  for (const [share, text] of [[1, "100 %"], [0.126, "13 %"], [0.0996, "10 %"], [0.0994, "9.9 %"], [0.005, "0.5 %"],
    [0.0004, "0.04 %"], [0.00004, "<0.01 %"]]) {
    assert.equal(shareText(share), text);
  }
});

test("one is no plural", () => {
  assert.deepEqual([0, 1, 2].map((number) => countText(number, "event")), ["0 events", "1 event", "2 events"]);
});

test("a name is what comes last, a camera's address included", () => {
  for (const [path, name] of [["a/b.mp4", "b.mp4"], ["b.mp4", "b.mp4"], ["a/b/", "b/"], ["/", "/"],
    ["rtsp://host/gate", "gate"]]) {
    assert.equal(baseName(path), name);
  }
});
