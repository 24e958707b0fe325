// Which row does each input get, and what time do the rows span?
import { shortestView } from "./span.js";

// Where an input begins on the axis: since 1970 by the clock, else each at 0.
export function originOf(input, byClock) {
  return byClock ? input.begin : 0;
}

export function hasPlace(input, byClock) {
  return !byClock || input.begin !== null;
}

// A row per camera by the clock, else per input. Gives every input its row, -1 where it has none.
export function laidRows(inputs, byClock) {
  const rows = [], ofCamera = new Map();
  for (const input of inputs) {
    const name = byClock ? input.camera : input.file;
    if (!hasPlace(input, byClock) || input.seconds === 0) {
      input.row = -1;
      continue;
    }
    if (!byClock || !ofCamera.has(name)) {
      ofCamera.set(name, rows.length);
      rows.push({ name, inputs: [] });
    }
    input.row = ofCamera.get(name);
    rows[input.row].inputs.push(input);
  }
  return { rows, whole: wholeOf(inputs.filter((input) => input.row >= 0), byClock) };
}

function wholeOf(inputs, byClock) {
  if (!inputs.length) {
    return { from: 0, to: 1 };
  }
  const from = inputs.reduce((least, input) => Math.min(least, originOf(input, byClock)), byClock ? Infinity : 0);
  const to = inputs.reduce((most, input) => Math.max(most, originOf(input, byClock) + input.seconds), from + shortestView);
  return { from, to };
}
