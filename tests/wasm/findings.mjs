// How are findings of the package compared with the native library's?  As lines, which NativeFindings.cpp writes likewise.
import { spawnSync } from "node:child_process";

export function digestOf(arrays) {
  let state = 2166136261;
  for (const array of arrays) {
    for (const value of array) {
      state = Math.imul(state ^ value, 16777619);
    }
  }
  return (state >>> 0).toString(16).padStart(8, "0");
}

export function lineOf({ isReady, objects }, detector) {
  const numbers = objects.flatMap(({ left, top, right, bottom, blocks }) => [left, top, right, bottom, blocks]);
  const digest = digestOf([detector.labels(), detector.moving(), detector.background()]);
  return [isReady ? 1 : 0, ...numbers, digest].join(" ");
}

// pictures: { milliseconds, bytes } of each.
export function nativeLines(program, { width, height, format, blockSize, rate, smallest }, pictures) {
  const input = Buffer.concat(pictures.flatMap(({ milliseconds, bytes }) => {
    const time = Buffer.alloc(8);
    time.writeDoubleLE(milliseconds);
    return [time, Buffer.from(bytes)];
  }));
  const facts = [width, height, format, blockSize, rate, smallest].map(String);
  const done = spawnSync(program, facts, { input, maxBuffer: 1 << 28 });
  if (done.status !== 0) {
    throw new Error(`${program}: ${done.status ?? done.signal} ${done.stderr}`);
  }
  return done.stdout.toString().trimEnd().split("\n");
}
