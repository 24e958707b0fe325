// Does every filter choose what it says, and is the rest in order?
import assert from "node:assert";
import test from "node:test";

import { chosen, everything } from "../../../web/model/choice.js";

const late = { camera: "gate", begin: 1000 }, early = { camera: "door", begin: 10 };
const events = [
  { id: "a", input: late, start: 0, length: 1, blocks: 7, searched: "gate/1.mp4\nroad", zones: ["road"] },
  { id: "b", input: late, start: 5, length: 3, blocks: 9, searched: "gate/1.mp4\nroad\nlawn", zones: ["road", "lawn"] },
  { id: "c", input: early, start: 2, length: 2, blocks: 8, searched: "door/2.mp4" },
];
const ids = (wanted, byClock = false) =>
  chosen(events, { ...everything(), ...wanted }, byClock).map((event) => event.id).join("");

test("nothing asked for leaves all in the order of the inputs, or by time of day", () => {
  assert.equal(ids({}), "abc");
  assert.equal(ids({}, true), "cab");
});

test("each filter takes away what it must, borders stay", () => {
  for (const [wanted, left] of [[{ shortest: 2 }, "bc"], [{ longest: 2 }, "ac"], [{ shortest: 2, longest: 2 }, "c"],
    [{ camera: "gate" }, "ab"], [{ words: ["gate", "lawn"] }, "b"], [{ words: ["lawn", "door"] }, ""],
    [{ zones: new Set(["lawn"]) }, "b"], [{ zones: new Set(["lawn", "road"]) }, "ab"]]) {
    assert.equal(ids(wanted), left, JSON.stringify(wanted));
  }
});

test("the largest or longest come first, by whatever clock", () => {
  assert.equal(ids({ order: "length" }), "bca");
  assert.equal(ids({ order: "blocks" }, true), "bca");
  assert.equal(events.map((event) => event.id).join(""), "abc", "what was given stays as it was");
});
