// What is said of a detection in words and numbers?
import { byId } from "../elements.js";
import { countText } from "../texts.js";

const kept = 60;                                             // pictures over which times are averaged
let times = [], told = 0;

function stateText(isReady, objects, pictures) {
  return !isReady ? `Getting to know the scene: ${Math.min(pictures, 11)} of 11 pictures`
    : objects.length === 0 ? "Nothing moves" : countText(objects.length, "object") + " in motion";
}

export function forget() {
  times = [];
}

// took: milliseconds. pictures: how many the detector has seen.
export function tell(detector, { isReady, objects }, took, pictures) {
  times = [...times.slice(1 - kept), took];
  const text = stateText(isReady, objects, pictures);
  if (byId("state").textContent !== text) {
    byId("state").textContent = text;
  }
  const now = performance.now();
  if (now - told < 500) {                                    // numbers that change faster are not read
    return;
  }
  told = now;
  const mean = times.reduce((sum, time) => sum + time, 0) / times.length;
  const { width, height, columns, rows } = detector;
  byId("facts").textContent =
    `${width} x ${height} pixels, ${columns} x ${rows} blocks, ${mean.toFixed(1)} ms a picture`;
}
