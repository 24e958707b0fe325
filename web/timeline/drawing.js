// What does the timeline look like?  Draws axis, scanned parts, gaps, events, conditions and names of rows with a canvas's
// pen.
import { coloursOf, conditionColoursOf } from "../colours.js";
import { originOf } from "../model/rows.js";
import { byClock, gaps, picked, rows, shown, view } from "../model/state.js";
import { ticksOf } from "./axis.js";
import { addBar, runsOf } from "./columns.js";
import { axisHeight, barHeight, conditionHeight, rowHeight } from "./geometry.js";

const colours = {};

// From the style sheet, anew with every theme.
export function readColours() {
  const style = getComputedStyle(document.documentElement);
  for (const name of ["text", "dim", "line", "track", "accent", "bad", "gap"]) {
    colours[name] = style.getPropertyValue("--" + name).trim();
  }
}

// Of an event or a condition.
export function edgesOf({ input, start, end }, place) {
  const origin = originOf(input, byClock);
  return place.edges(origin + start, origin + end);
}

// range: that is wanted; null: any time.
export function drawTimeline(pen, place, range) {
  const last = Math.min(rows.length - 1, place.lastRow);
  pen.clearRect(0, 0, place.width, place.height);
  pen.font = "12px " + getComputedStyle(document.body).fontFamily;
  pen.textBaseline = "middle";
  drawAxis(pen, place);
  if (range) {
    drawRange(pen, place, range);
  }
  within(pen, 0, place, () => {
    within(pen, place.gutter, place, () => {
      drawInputs(pen, place, last);
      drawEvents(pen, place, last);
      drawConditions(pen, place, last);
    });
    for (let row = place.firstRow; row <= last; ++row) {
      pen.fillStyle = rows[row].inputs.length ? colours.text : colours.dim;
      pen.fillText(fitting(pen, rows[row].name, place.gutter - 10), 2, place.yOf(row) + rowHeight / 2);
    }
  });
}

// Draws only below the axis and right of x.
function within(pen, x, place, draw) {
  pen.save();
  pen.beginPath();
  pen.rect(x, axisHeight, place.width, place.height);
  pen.clip();
  draw();
  pen.restore();
}

function drawAxis(pen, place) {
  pen.textAlign = "left";
  for (const { time, label } of ticksOf(view, place.across, byClock)) {
    const x = place.xOf(time);
    pen.fillStyle = colours.line;
    pen.fillRect(x, axisHeight - 6, 1, place.height);
    pen.fillStyle = colours.dim;
    if (x + pen.measureText(label).width < place.width) {
      pen.fillText(label, x + 3, 12);
    }
  }
}

// On the axis, with an edge down through all rows on either side.
function drawRange(pen, place, { from, to }) {
  const left = Math.max(place.gutter, place.xOf(from)), right = Math.min(place.gutter + place.across, place.xOf(to));
  if (right < left) {
    return;                                                  // not in view
  }
  pen.fillStyle = colours.accent;
  pen.globalAlpha = 0.3;
  pen.fillRect(left, 0, right - left, axisHeight);
  pen.globalAlpha = 0.1;
  pen.fillRect(left, axisHeight, right - left, place.height);
  pen.globalAlpha = 1;
  for (const x of [left, right - 2]) {
    pen.fillRect(x, 0, 2, place.height);
  }
}

// What was scanned, and where that broke off.
function drawInputs(pen, place, last) {
  for (let row = place.firstRow; row <= last; ++row) {
    for (const input of rows[row].inputs) {
      const begin = originOf(input, byClock), left = place.xOf(begin), right = place.xOf(begin + input.seconds);
      pen.fillStyle = colours.track;
      pen.fillRect(left, place.yOf(row) + 4, Math.max(1, right - left - 1), rowHeight - 8);
      if (input.status !== "complete") {
        pen.fillStyle = colours.bad;
        pen.fillRect(left, place.yOf(row) + rowHeight - 5, Math.max(2, right - left - 1), 2);
      }
    }
  }
  for (const { input, start, end } of gaps) {
    if (input.row >= place.firstRow && input.row <= last) {
      const begin = originOf(input, byClock), left = place.xOf(begin + start), right = place.xOf(begin + end);
      pen.fillStyle = colours.gap;
      pen.fillRect(left, place.yOf(input.row) + rowHeight / 2 - 1, Math.max(2, right - left), 2);
    }
  }
}

function drawEvents(pen, place, last) {
  const least = Math.floor(place.gutter), ofRow = [];
  for (let row = place.firstRow; row <= last; ++row) {
    ofRow[row] = new Uint16Array(place.width + 1);
  }
  for (const event of shown) {
    const columns = ofRow[event.input.row];
    if (columns) {
      const { left, right } = edgesOf(event, place);
      addBar(columns, Math.max(left, least), right, event.colours);
    }
  }
  ofRow.forEach((columns, row) => {
    for (const run of runsOf(columns, least)) {
      drawBar(pen, run, place.yOf(row), barHeight, coloursOf(run.bits, colours.accent));
    }
  });
  if (shown.includes(picked) && ofRow[picked.input.row]) {
    const { left, right } = edgesOf(picked, place);
    pen.strokeStyle = colours.text;
    pen.lineWidth = 2;
    pen.strokeRect(left - 2, place.yOf(picked.input.row) + (rowHeight - barHeight) / 2 - 2, right - left + 4, barHeight + 4);
  }
}

function drawConditions(pen, place, last) {
  const least = Math.floor(place.gutter);
  for (let row = place.firstRow; row <= last; ++row) {
    const columns = new Uint16Array(place.width + 1);
    for (const condition of rows[row].conditions) {
      const { left, right } = edgesOf(condition, place);
      addBar(columns, Math.max(left, least), right, condition.colours);
    }
    for (const run of runsOf(columns, least)) {
      drawBar(pen, run, place.yOf(row), conditionHeight, conditionColoursOf(run.bits));
    }
  }
}

// In the middle of the row at y.
function drawBar(pen, { left, right }, y, height, used) {
  const part = height / used.length, top = y + (rowHeight - height) / 2;
  used.forEach((colour, i) => {
    pen.fillStyle = colour;
    pen.fillRect(left, top + i * part, right - left, part);
  });
}

// A name without its beginning, for what tells inputs apart stands at the end.
function fitting(pen, name, width) {
  if (pen.measureText(name).width <= width) {
    return name;
  }
  let cut = Math.max(0, name.length - 60);
  while (cut < name.length && pen.measureText("\u2026" + name.slice(cut)).width > width) {
    ++cut;
  }
  return "\u2026" + name.slice(cut);
}
