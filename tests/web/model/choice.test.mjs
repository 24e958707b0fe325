// Does every filter choose what it says, and is the rest in order?
import assert from "node:assert";
import test from "node:test";

import { chosen, everything } from "../../../web/model/choice.js";

const late = { camera: "gate", begin: 1000 }, early = { camera: "door", begin: 10 };
const events = [
  { id: "a", input: late, start: 0, length: 1, blocks: 7, searched: "gate/1.mp4\nroad", zones: ["road"] },
  { id: "b", input: late, start: 5, length: 3, blocks: 9, searched: "gate/1.mp4\nroad\nlawn", zones: ["road", "lawn"] },
  { id: "c", input: early, start: 2, length: 2, blocks: 8, searched: "door/2.mp4" },
].map((event) => ({ ...event, end: event.start + event.length }));
const ids = (wanted, byClock = false) =>
  chosen(events, { ...everything(), ...wanted }, byClock).map((event) => event.id).join("");

test("nothing asked for leaves all in the order of the inputs, or by time of day", () => {
  assert.equal(ids({}), "abc");
  assert.equal(ids({}, true), "cab");
});

test("each filter takes away what it must, borders stay", () => {
  for (const [wanted, left] of [[{ shortest: 2 }, "bc"], [{ longest: 2 }, "ac"], [{ shortest: 2, longest: 2 }, "c"],
    [{ camera: "gate" }, "ab"], [{ words: ["gate", "lawn"] }, "b"], [{ words: ["lawn", "door"] }, ""],
    [{ range: { from: 1001, to: 1004, byClock: true } }, "a"], [{ range: { from: 2, to: 4, byClock: false } }, "c"],
    [{ zones: new Set(["lawn"]) }, "b"], [{ zones: new Set(["lawn", "road"]) }, "ab"]]) {
    assert.equal(ids(wanted), left, JSON.stringify(wanted));
  }
});

test("marks, sizes and places leave what has them", () => {
  const input = { camera: "gate", width: 200, height: 100 }, other = { ...input, camera: "door" };
  const marked = [
    { id: "a", input, start: 0, length: 1, mark: "", boxes: [[0, 0, 20, 5]], track: "" },
    { id: "b", input, start: 1, length: 1, mark: "keep", boxes: [[0, 0, 20, 50]], track: "0 0 0 20 50 100 100 50 0 0" },
    { id: "c", input: other, start: 2, length: 1, mark: "seen", boxes: [[100, 60, 50, 20]], track: "" },
  ];
  for (const [wanted, left] of [[{ marks: new Set([""]) }, "a"], [{ marks: new Set(["", "seen"]) }, "ac"],
    [{ marks: new Set(["false"]) }, ""], [{ smallest: 10 }, "abc"], [{ smallest: 10.1 }, "bc"], [{ largest: 25 }, "ac"],
    [{ place: { camera: "gate", area: [110, 90, 5, 5] } }, "b"], [{ place: { camera: "door", area: [110, 70, 5, 5] } }, "c"],
    [{ place: { camera: "gate", area: [0, 0, 1, 1] }, smallest: 30 }, "b"]]) {
    assert.equal(chosen(marked, { ...everything(), ...wanted }, false).map((event) => event.id).join(""), left);
  }
});

test("the largest or longest come first, by whatever clock", () => {
  assert.equal(ids({ order: "length" }), "bca");
  assert.equal(ids({ order: "blocks" }, true), "bca");
  assert.equal(events.map((event) => event.id).join(""), "abc", "what was given stays as it was");
});

test("twice as many events are twice as much work", () => {
  const workFor = (count) => {
    let reads = 0;
    const input = { camera: "gate", width: 100, height: 100 };
    const many = Array.from({ length: count }, (_, i) => new Proxy(
      { input, start: i, length: i % 9, mark: "", zones: ["road"], boxes: [[0, 0, 10, 10]], track: "0 0 0 9 9 9 9 9 0 0",
        searched: "road" }, { get: (event, name) => { ++reads; return event[name]; } }));
    chosen(many, { ...everything(), words: ["road"], zones: new Set(["road"]), marks: new Set([""]), smallest: 1,
                   place: { camera: "gate", area: [0, 0, 50, 50] } }, false);
    return reads;
  };
  assert.equal(workFor(4000), 2 * workFor(2000));
});
