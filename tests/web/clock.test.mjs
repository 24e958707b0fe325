// Does each clock show what it should, and is what it shows found again, on days that are longer or shorter, too?
import assert from "node:assert";
import test from "node:test";

import { shownAt, tellBy, timeOf } from "../../web/clock.js";

process.env.TZ = "Europe/Berlin";
const at = (text) => Date.parse(text) / 1000, textOf = (time) => new Date(shownAt(time) * 1000).toISOString().slice(0, 16);

test("a viewer's clock is that of this machine, in winter and in summer", () => {
  tellBy("viewer");
  assert.equal(textOf(at("2026-03-01T07:59Z")), "2026-03-01T08:59");
  assert.equal(textOf(at("2026-07-01T23:30Z")), "2026-07-02T01:30");
});

test("the place has its own, or nobody knows which and it is the viewer's", () => {
  tellBy("recording", (time) => time < at("2026-06-01T00:00Z") ? -18000 : -14400);
  assert.equal(textOf(at("2026-03-01T07:59Z")), "2026-03-01T02:59");
  assert.equal(textOf(at("2026-07-01T07:59Z")), "2026-07-01T03:59");
  tellBy("recording");
  assert.equal(textOf(at("2026-03-01T07:59Z")), "2026-03-01T08:59");
  tellBy("utc");
  assert.equal(textOf(at("2026-03-01T07:59Z")), "2026-03-01T07:59");
});

test("a time is found by what its clock shows", () => {
  for (const clock of ["viewer", "recording", "utc"]) {
    tellBy(clock, () => 20700);
    for (let time = at("2026-01-01T00:30Z"); time < at("2027-01-01T00:00Z"); time += 3600) {
      const twice = clock === "viewer" && textOf(time).startsWith("2026-10-25T02");
      assert.ok(timeOf(shownAt(time)) === time || twice, clock + " " + time);
    }
  }
  tellBy("viewer");
});
