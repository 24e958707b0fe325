// Is what people type understood as the time they mean, and nothing that is none?
import assert from "node:assert";
import test from "node:test";

import { spanTyped } from "../../../web/model/timetyped.js";

const shown = Date.parse("2026-05-17T23:30Z") / 1000;
const text = (time) => new Date(time * 1000).toISOString().slice(0, 19);
const typed = (words) => { const span = spanTyped(words, shown); return span && text(span.from) + " " + text(span.to); };

test("a day, however it is written, or a month", () => {
  for (const words of ["2026-03-01", "2026/3/1", "2026.03.01", " 1.3.2026 ", "20260301"]) {
    assert.equal(typed(words), "2026-03-01T00:00:00 2026-03-02T00:00:00", words);
  }
  assert.equal(typed("2026-12-31"), "2026-12-31T00:00:00 2027-01-01T00:00:00");
  assert.equal(typed("2026-02"), "2026-02-01T00:00:00 2026-03-01T00:00:00");
});

test("a time is as long as its last number", () => {
  for (const words of ["2026-03-01 07:59", "2026-03-01T07:59", "20260301_0759", "1.3.2026 7:59", "2026-03-01 07.59"]) {
    assert.equal(typed(words), "2026-03-01T07:59:00 2026-03-01T08:00:00", words);
  }
  for (const words of ["2026-03-01 07:59:30", "20260301T075930", "20260301075930", "2026-03-01_07-59-30"]) {
    assert.equal(typed(words), "2026-03-01T07:59:30 2026-03-01T07:59:31", words);
  }
  assert.equal(typed("2026-03-01 7h"), "2026-03-01T07:00:00 2026-03-01T08:00:00");
});

test("a time alone is that of the day in view", () => {
  assert.equal(typed("7:59"), "2026-05-17T07:59:00 2026-05-17T08:00:00");
  assert.equal(typed("07:59:30"), "2026-05-17T07:59:30 2026-05-17T07:59:31");
});

test("what is no time is none", () => {
  for (const words of ["", "noon", "2026", "2026-13-01", "2026-02-29", "31.4.2026", "2026-03-01 24:00", "25:00", "07:60",
    "2026-03-01 x", "3/1/2026", "2026-03 07:59", "0002-03-01"]) {
    assert.equal(typed(words), null, words);
  }
});
