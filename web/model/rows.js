// Which row does each input get, and what time do the rows span?
import { shortestView } from "./span.js";

// Where an input begins on the axis: since 1970 by the clock, else each at 0.
export function originOf(input, byClock) {
  return byClock ? input.begin : 0;
}

export function hasPlace(input, byClock) {
  return !byClock || input.begin !== null;
}

// A row per camera by the clock, else per input, and one of conditions below each that has any. Gives every input its row,
// -1 where it has none.
export function laidRows(inputs, byClock) {
  const ofInputs = [], ofCamera = new Map();
  for (const input of inputs) {
    const name = byClock ? input.cameraName : input.file;
    input.row = -1;
    if (!hasPlace(input, byClock) || input.seconds === 0) {
      continue;
    }
    if (!byClock || !ofCamera.has(name)) {
      ofCamera.set(name, ofInputs.length);
      ofInputs.push({ name, inputs: [], conditions: [] });
    }
    ofInputs[ofCamera.get(name)].inputs.push(input);
  }
  if (byClock) {
    ofInputs.forEach((row) => row.inputs.sort((a, b) => a.begin - b.begin));
  }
  const rows = ofInputs.flatMap(withConditions);
  rows.forEach((row, place) => row.inputs.forEach((input) => { input.row = place; }));
  return { rows, whole: wholeOf(inputs.filter((input) => input.row >= 0), byClock) };
}

function withConditions(row) {
  const conditions = row.inputs.flatMap((input) => input.conditions);
  return conditions.length ? [row, { name: "conditions", inputs: [], conditions }] : [row];
}

function wholeOf(inputs, byClock) {
  if (!inputs.length) {
    return { from: 0, to: 1 };
  }
  const from = inputs.reduce((least, input) => Math.min(least, originOf(input, byClock)), byClock ? Infinity : 0);
  const to = inputs.reduce((most, input) => Math.max(most, originOf(input, byClock) + input.seconds), from + shortestView);
  return { from, to };
}
