// Is an object where its track says, and does it touch what it passes, and nothing else?
import assert from "node:assert";
import test from "node:test";

import { boxAt, sizeOf, touches, trackOf } from "../../../web/model/track.js";

const input = { camera: "gate", width: 200, height: 100 };
const event = { input, start: 10, boxes: [[80, 40, 20, 10], [0, 90, 5, 10]],
                track: "50 0 0 10 10 100 40 20 0 10 50 0 0 10 0" };

test("a track is read as it was written", () => {
  assert.deepEqual(trackOf(event), [{ time: 10.5, box: [0, 0, 10, 10] }, { time: 11.5, box: [40, 20, 10, 20] },
                                    { time: 12, box: [40, 20, 20, 20] }]);
  assert.deepEqual(trackOf({ start: 1 }), []);
  assert.deepEqual(trackOf({ start: 1, track: "" }), []);
});

test("between two points an object goes straight, before and after them it is nowhere", () => {
  const points = trackOf(event);
  assert.deepEqual([10.4, 10.5, 11, 11.75, 12, 12.1].map((time) => boxAt(points, time)),
    [null, [0, 0, 10, 10], [20, 10, 10, 15], [40, 20, 15, 20], [40, 20, 20, 20], null]);
  assert.equal(boxAt([], 1), null);
});

test("what is passed between two points is touched, what lies beside the way is not", () => {
  const passing = { ...event, boxes: [], track: "0 0 0 10 10 100 90 90 0 0" };
  for (const [area, touched] of [[[40, 40, 5, 5], true], [[60, 20, 5, 5], false], [[20, 60, 5, 5], false],
    [[52, 45, 3, 3], true], [[10, 0, 5, 5], true], [[11, 0, 5, 0.9], false], [[100, 100, 9, 9], false],
    [[99, 99, 9, 9], true], [[0, 0, 200, 100], true]]) {
    assert.equal(touches(passing, area), touched, area.join());
  }
  const step = 0.001, far = (area) => {                      // by trying the whole way
    for (let at = 0; at <= 90; at += step * 90) {
      if (at < area[0] + area[2] && at + 10 > area[0] && at < area[1] + area[3] && at + 10 > area[1]) {
        return false;
      }
    }
    return true;
  };
  for (let i = 0; i < 300; ++i) {
    const area = [i * 37 % 101, i * 53 % 97, 1 + i % 7, 1 + i % 5];
    assert.equal(touches(passing, area), !far(area), area.join());
  }
});

test("every box of the peak counts, a standing object too", () => {
  assert.ok(touches(event, [1, 95, 1, 1]));
  assert.ok(!touches({ ...event, boxes: [] }, [1, 95, 1, 1]));
  assert.ok(touches({ ...event, boxes: [], track: "0 50 50 5 5" }, [52, 52, 1, 1]));
});

test("a size is the longer side in per cent of the picture's", () => {
  assert.equal(sizeOf(event), 10);
  assert.equal(sizeOf({ ...event, boxes: [[0, 0, 20, 50]] }), 50);
  assert.equal(sizeOf({ ...event, input: { width: 0, height: 0 } }), 0);
});
