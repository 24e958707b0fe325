// Do spreadsheets and programs get every event as it is, and nothing that they would run?
import assert from "node:assert";
import test from "node:test";

import { eventJson, eventTable, tableCell } from "../../../web/model/exports.js";

const gate = { file: "=gate/1,\"2\".mp4", camera: "gate", begin: Date.UTC(2026, 2, 1, 8) / 1000 };
const events = [
  { input: gate, event: 3, start: 1.25, end: 2, peak: 1.5, blocks: 9, flash: true, zones: ["road", "a;b"],
    boxes: [[1, 2, 3, 4], [5, 6, 7, 8]], clip: "c.mp4", mark: "keep", picture: "AAAA", track: "1 2 3 4 5" },
  { input: { file: "b\nc.mp4", camera: ".", begin: null }, event: 1, start: 0, end: 1, peak: 1, blocks: 2, boxes: [],
    mark: "" },
];

test("cells are quoted, and none is a formula", () => {
  assert.deepEqual(["a", "=1", "+1", "-1", "@x", -1, 0, undefined, "a,b", "a\"b", "a\nb", "=a,b"].map(tableCell),
    ["a", "'=1", "'+1", "'-1", "'@x", "-1", "0", "", "\"a,b\"", "\"a\"\"b\"", "\"a\nb\"", "\"'=a,b\""]);
});

test("a table has a row each, as many cells as columns, and times of day where they are known", () => {
  assert.equal(eventTable(events),
    "file,camera,event,start,end,peak,start_time,end_time,blocks,flash,zones,x,y,w,h,clip,mark\r\n" +
    "\"'=gate/1,\"\"2\"\".mp4\",gate,3,1.25,2,1.5,2026-03-01T08:00:01.250Z,2026-03-01T08:00:02.000Z,9,true," +
    "road;a;b,1,2,3,4,c.mp4,keep\r\n" +
    "\"b\nc.mp4\",.,1,0,1,1,,,2,,,,,,,,\r\n");
  assert.equal(eventTable([]).split("\r\n").length, 2);
});

test("JSON holds the same", () => {
  const [first, second] = JSON.parse(eventJson(events));
  assert.deepEqual(second, { type: "event", file: "b\nc.mp4", camera: ".", event: 1, start: 0, end: 1, peak: 1, blocks: 2 });
  assert.equal(first.mark, "keep");
  assert.deepEqual(first.zones, ["road", "a;b"]);
  assert.equal(first.picture, undefined);
  assert.deepEqual(JSON.parse(eventJson([])), []);
});
