// Does the package for pages find what the native library finds in the same pictures, and refuse what it should?
//   COREMD_PACKAGE=FOLDER COREMD_NATIVE=NativeFindings node --test package.test.mjs
import assert from "node:assert";
import { readFileSync, statSync } from "node:fs";
import test from "node:test";
import { pathToFileURL } from "node:url";

import { lineOf, nativeLines } from "./findings.mjs";

const folder = process.env.COREMD_PACKAGE, native = process.env.COREMD_NATIVE;
const { chooseBlockSize, load } = await import(pathToFileURL(folder + "/index.js"));
const bytes = readFileSync(folder + "/coremd.wasm"), coremd = await load(bytes);

// Numbers from 0 to 2^32 that are the same in every run.
function makeRandom(state) {
  return () => {
    state = Math.imul(state ^ state >>> 15, 0x2c1b3c6d) + 0x9e3779b9 | 0;
    return (state ^ state >>> 13) >>> 0;
  };
}

// A still, noisy scene which two squares go through; each plane of a picture is written by its place.
function* scene(detector, count, seed) {
  const { width, height, layout, format } = detector, random = makeRandom(seed), size = detector.picture.length;
  const ground = Uint8Array.from({ length: size }, () => 60 + random() % 90);
  const step = format === "RGBA" ? 4 : 1, side = Math.floor(height / 4);
  for (let i = 0; i < count; ++i) {
    const picture = ground.map((value, place) => value + (random() >>> 3 & 3) * (place & 1));
    for (const [number, level] of [[0, 235], [1, 20]]) {
      const x = Math.floor((number ? width - side - 7 * i : 5 * i) + width) % (width - side), y = 2 + number * 2 * side;
      for (let row = y; row < y + side; ++row) {
        const start = layout[0].offset + row * layout[0].stride + step * x;
        picture.fill(i > 14 ? level : 128, start, start + step * side);
      }
    }
    yield { milliseconds: 166 * i + random() % 100, bytes: picture };
  }
}

function wasmLines(detector, pictures) {
  return pictures.map(({ milliseconds, bytes: picture }) => {
    detector.picture.set(picture);
    return lineOf(detector.detect(milliseconds), detector);
  });
}

for (const [format, width, height, blockSize] of [["I420", 320, 180, 4], ["NV12", 320, 180, 4], ["RGBA", 320, 180, 4],
                                                  ["I420", 161, 91, 3], ["NV12", 161, 91, 5], ["RGBA", 97, 61, 64],
                                                  ["I420", 1280, 720, 8]]) {
  test(`${format}, ${width} x ${height}, blocks of ${blockSize}: to the bit as the native library`, async () => {
    const facts = { width, height, format, blockSize, rate: 1000, smallest: 0.05 };
    const detector = await coremd.createDetector({ ...facts, smallestWidth: 0.05, smallestHeight: 0.05 });
    const pictures = [...scene(detector, width > 1000 ? 30 : 60, width + blockSize)];
    const lines = wasmLines(detector, pictures), expected = nativeLines(native, facts, pictures);
    assert.deepEqual(lines, expected);
    assert.ok(blockSize === 64 || lines.some((line) => line.split(" ").length > 2), "something is found");
  });
}

test("a picture that differs in one block is noticed", async () => {
  const facts = { width: 320, height: 180, format: "I420", blockSize: 4, rate: 1000, smallest: 0.05 };
  const detector = await coremd.createDetector({ ...facts, smallestWidth: 0.05, smallestHeight: 0.05 });
  const pictures = [...scene(detector, 40, 1)], lines = wasmLines(detector, pictures);
  for (const picture of pictures.slice(20)) {
    picture.bytes.fill(255, 0, 4).fill(255, 320, 324).fill(255, 640, 644).fill(255, 960, 964);
  }
  assert.notDeepEqual(lines, nativeLines(native, facts, pictures));
});

test("detectors share nothing, and each module makes equal ones", async () => {
  const settings = { width: 64, height: 48, blockSize: 2 };
  const one = await coremd.createDetector(settings), other = await coremd.createDetector(settings);
  const third = await (await load(await WebAssembly.compile(bytes))).createDetector(settings);
  const pictures = [...scene(one, 40, 3)], lines = wasmLines(one, pictures);
  wasmLines(other, pictures.slice(0, 10));
  assert.deepEqual(wasmLines(third, pictures), lines);
});

test("a smallest size that changes leaves what was learned", async () => {
  const detector = await coremd.createDetector({ width: 320, height: 180, blockSize: 4 });
  const pictures = [...scene(detector, 60, 5)], last = pictures.pop();
  wasmLines(detector, pictures);
  const background = detector.background();
  assert.ok(background.some((value, i) => i % 4 === 3 && value === 255), "a background is known");
  detector.setSmallest(1, 1);
  assert.deepEqual(detector.background(), background);
  detector.picture.set(last.bytes);
  assert.deepEqual(detector.detect(last.milliseconds), { isReady: true, objects: [] });
  assert.ok(detector.moving().some(Boolean));
});

test("settings outside their range are refused, and say so", async () => {
  const good = { width: 64, height: 48 };
  for (const wrong of [{ width: 0 }, { height: 1.5 }, { width: 64 * 9999 + 1 }, { blockSize: 0 }, { blockSize: 65 },
                       { height: 10000, blockSize: 1 }, { format: "I444A" }, { smallestWidth: -0.1 },
                       { smallestHeight: 1.1 }, { smallestWidth: NaN }, { framesPerSecond: 0 },
                       { framesPerSecond: Infinity }]) {
    await assert.rejects(coremd.createDetector({ ...good, ...wrong }), RangeError, JSON.stringify(wrong));
  }
  const detector = await coremd.createDetector(good);
  assert.throws(() => detector.detect(-1), RangeError);
  assert.throws(() => detector.detect(NaN), RangeError);
  assert.throws(() => detector.setSmallest(2, 0), RangeError);
  await assert.rejects(detector.read({ visibleRect: { width: 63, height: 48 }, format: "I420" }), RangeError);
});

test("a grid that memory has no room for ends its own detector only", async () => {
  await assert.rejects(async () => {
    const large = await coremd.createDetector({ width: 30000, height: 30000, format: "RGBA" });
    large.detect(0);
  });
  assert.equal((await coremd.createDetector({ width: 64, height: 48 })).columns, 64);
});

test("boxes are in pixels, and end with the picture", async () => {
  const detector = await coremd.createDetector({ width: 100, height: 50, blockSize: 16 });
  assert.deepEqual([detector.columns, detector.rows], [7, 4]);
  assert.deepEqual(detector.boxOf({ left: 0, top: 1, right: 1, bottom: 2 }), { x: 0, y: 16, width: 32, height: 32 });
  assert.deepEqual(detector.boxOf({ left: 6, top: 3, right: 6, bottom: 3 }), { x: 96, y: 48, width: 4, height: 2 });
});

test("block sizes suit the detector", () => {
  for (const [width, height, size] of [[100, 100, 1], [240, 10, 1], [241, 10, 2], [640, 360, 4], [1280, 720, 8],
                                       [1920, 1080, 8], [3840, 2160, 16], [10, 10000, 2]]) {
    assert.equal(chooseBlockSize(width, height), size, `${width} x ${height}`);
  }
});

test("what the package says of itself holds", async () => {
  const told = JSON.parse(readFileSync(folder + "/package.json"));
  assert.equal((await coremd.createDetector({ width: 8, height: 8 })).version, told.version);
  for (const file of told.files) {
    assert.ok(statSync(`${folder}/${file}`).size > 0, file);
  }
});
