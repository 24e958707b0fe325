// Do marks come back from a file, and is a file refused that holds none, or damaged ones?
import assert from "node:assert";
import test from "node:test";

import { keyOf, markText, marksOf } from "../../../web/model/verdicts.js";

test("marks come back, whatever files are called", () => {
  const marks = new Map([["gate/1.mp4@2.5", "keep"], ["__proto__@0", "seen"], ["__proto__", "seen"],
                         ["\"\n\ud83d\ude00@1", "false"]]);
  assert.deepEqual(marksOf(markText(marks)), { marks });
  assert.deepEqual(marksOf(markText(new Map())), { marks: new Map() });
  assert.equal({}.seen, undefined);
});

test("an event is known by its input and its begin", () => {
  assert.equal(keyOf({ input: { file: "gate/1.mp4" }, start: 12.345, event: 7 }), "gate/1.mp4@12.345");
});

test("a file of another kind or a damaged one is refused with the reason", () => {
  const whole = markText(new Map([["a@1", "keep"], ["b@2", "seen"]]));
  for (const [text, why] of [["", "is damaged, or no file of marks"], ["\u0000\u0001", "is damaged, or no file of marks"],
    ["null", "is no file of marks"], ["[]", "is no file of marks"],
    ["{\"marks\":{\"a@1\":\"keep\"}}", "is no file of marks"],
    [whole.replace("\"version\":1", "\"version\":2"), "is of another version of mdscan"],
    [whole.replace("keep", "kept"), "is damaged: a@1 is marked \"kept\""],
    [whole.replace("\"seen\"", "{}"), "is damaged: b@2 is marked {}"],
    [whole.replace(/"marks":\{.*\}\}/, "\"marks\":null}"), "is no file of marks"]]) {
    assert.deepEqual(marksOf(text), { trouble: why }, text);
  }
  for (let length = 0; length < whole.length - 2; ++length) {
    assert.ok(marksOf(whole.slice(0, length)).trouble, "cut after " + length);
  }
});
