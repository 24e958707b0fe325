// What does a picture cost in the module for pages?  Reduction and detection of a noisy scene in which something moves: the
// fastest of 300, and the mean time of the processor, which does not count others that use it, too.
//   COREMD_PACKAGE=FOLDER node measure.mjs
import { readFileSync } from "node:fs";
import { pathToFileURL } from "node:url";

const folder = process.env.COREMD_PACKAGE;
const { load } = await import(pathToFileURL(folder + "/index.js"));
const coremd = await load(readFileSync(folder + "/coremd.wasm"));

const pictures = [["I420", 1280, 720], ["NV12", 1280, 720], ["RGBA", 1280, 720], ["I420", 1920, 1080]];
for (const [format, width, height] of pictures) {
  const detector = await coremd.createDetector({ width, height, format });
  const step = format === "RGBA" ? 4 : 1, size = detector.picture.length;
  let state = 1;
  const grounds = Array.from({ length: 4 }, () => Uint8Array.from({ length: size }, (_, i) => {
    state = state * 1103515245 + 12345 & 0x7fffffff;
    return 60 + i % 97 + (state >> 16) % 5;
  }));
  let fastest = Infinity, used = 0;
  for (let i = 0; i < 300; ++i) {
    const picture = detector.picture;
    picture.set(grounds[i % 4]);
    for (let row = 0; row < height / 2; ++row) {
      const start = step * (width * (height / 4 + row) + 6 * i % (width - 80));
      picture.fill(220, start, start + step * 80);
    }
    const begun = performance.now(), before = process.cpuUsage();
    detector.detect(i * 1000 / 6);
    const { user, system } = process.cpuUsage(before);
    fastest = Math.min(fastest, performance.now() - begun);
    used += (user + system) / 1000;
  }
  console.log(`${format} ${width} x ${height}, ${detector.columns} x ${detector.rows} blocks: ` +
              `fastest ${fastest.toFixed(2)} ms, mean ${(used / 300).toFixed(2)} ms of the processor`);
}
