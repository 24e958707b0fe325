// When was what?  A canvas in #timeline with a row per camera, or per input where no time of day is known, and rows of
// conditions; draws when something has changed, zooms, moves, and picks what is clicked.
import { byId } from "../elements.js";
import { hasPlace, originOf } from "../model/rows.js";
import { byClock, inputs, pan, pick, picked, reveal, rows, setView, shown, view, when, zoom } from "../model/state.js";
import { wanted, wantRange } from "../model/state.js";
import { rangeBetween } from "../model/timerange.js";
import { clockText, dateText, secondsText, spanText } from "../texts.js";
import { drawTimeline, edgesOf, readColours } from "./drawing.js";
import { axisHeight, geometryOf, rowHeight } from "./geometry.js";

const canvas = byId("canvas"), pen = canvas.getContext("2d"), timeline = byId("timeline"), tip = byId("tip");
let due = false;                                             // the next frame draws
let drag = null;                                             // what was where when the button went down
let sweep = null;                                            // a range that is being picked
const leastSweep = 5;                                        // pixels; less is a click

function geometry() {
  return geometryOf(canvas.clientWidth, canvas.clientHeight, timeline.scrollTop, view);
}

function resize() {
  const width = timeline.clientWidth, height = Math.min(timeline.clientHeight, byId("rows").offsetHeight);
  const scale = devicePixelRatio || 1;
  canvas.style.height = height + "px";
  canvas.width = Math.max(1, Math.round(width * scale));
  canvas.height = Math.max(1, Math.round(height * scale));
  pen.setTransform(scale, 0, 0, scale, 0, 0);
  draw();                                                    // at once: its new size has emptied the canvas
}

function markedRange() {
  const range = sweep || wanted.range;
  return range && range.byClock === byClock ? range : null;
}

function draw() {
  drawTimeline(pen, geometry(), markedRange());
  showRange();
  canvas.dataset.from = view.from;
  canvas.dataset.to = view.to;
  canvas.dataset.rows = rows.length;
}

function redraw() {
  if (!due) {
    due = true;
    requestAnimationFrame(() => { due = false; draw(); });
  }
}

function showRange() {
  const fine = view.to - view.from < 60;
  const textOf = (time) => byClock ? dateText(time) + " " + clockText(time, fine) : secondsText(time, fine);
  const missing = inputs.filter((input) => input.seconds > 0 && !hasPlace(input, byClock)).length;
  byId("range").textContent = (rows.length ? textOf(view.from) + " to " + textOf(view.to) : "") +
                              (missing ? "; " + missing + " without a time of day not shown" : "");
}

// The shown event or the condition under a point of the canvas.
function spanAt(x, y) {
  const place = geometry(), row = place.rowAt(y), isRow = x >= place.gutter && y >= axisHeight && row < rows.length;
  let best = null, distance = 5;
  for (const span of isRow ? [...rows[row].conditions, ...shown.filter((event) => event.input.row === row)] : []) {
    const { left, right } = edgesOf(span, place);
    const away = Math.max(left - x, x - right, 0);
    if (away < distance) {
      best = span;
      distance = away;
    }
  }
  return best;
}

function eventAt(x, y) {
  const span = spanAt(x, y);
  return span && span.type === "event" ? span : null;
}

function bringIntoView({ input, start, end }) {
  if (input.row < 0) {
    return;
  }
  reveal({ from: originOf(input, byClock) + start, to: originOf(input, byClock) + end });
  const y = input.row * rowHeight;
  if (y < timeline.scrollTop || y + rowHeight + axisHeight > timeline.scrollTop + timeline.clientHeight) {
    timeline.scrollTop = y - timeline.clientHeight / 2;
  }
}

function showTip(span, { clientX, clientY }) {
  tip.hidden = !span;
  canvas.style.cursor = span && span.type === "event" ? "pointer" : "";
  if (span) {
    tip.textContent = spanText(span);
    const box = byId("overview").getBoundingClientRect();
    tip.style.left = Math.max(0, Math.min(clientX - box.left + 12, box.width - tip.offsetWidth - 8)) + "px";
    tip.style.top = clientY - box.top + 16 + "px";
  }
}

function press(event) {
  const onAxis = event.offsetY < axisHeight, sweeps = onAxis || event.shiftKey;
  drag = { x: event.offsetX, y: event.offsetY, from: view.from, to: view.to, top: timeline.scrollTop, moved: false, onAxis,
           sweeps };
  canvas.setPointerCapture(event.pointerId);
}

// Within what is in view, whatever the pointer does.
function rangeTo(x) {
  const { gutter, across, timeOf } = geometry(), inside = (at) => timeOf(Math.min(Math.max(at, gutter), gutter + across));
  return rangeBetween(inside(drag.x), inside(x), byClock, inside(gutter + leastSweep) - inside(gutter));
}

function move(event) {
  if (!drag) {
    showTip(spanAt(event.offsetX, event.offsetY), event);
    canvas.classList.toggle("axis", event.offsetY < axisHeight);
    return;
  }
  if (drag.sweeps) {
    sweep = rangeTo(event.offsetX);
    redraw();
    return;
  }
  drag.moved = drag.moved || Math.abs(event.offsetX - drag.x) + Math.abs(event.offsetY - drag.y) > 4;
  if (drag.moved) {
    const by = (drag.x - event.offsetX) / geometry().across * (drag.to - drag.from);
    canvas.classList.add("dragged");
    setView({ from: drag.from + by, to: drag.to + by });
    timeline.scrollTop = drag.top + drag.y - event.offsetY;
  }
}

function release(event) {
  const clicked = drag && !drag.moved && !sweep ? eventAt(event.offsetX, event.offsetY) : null;
  const swept = drag && drag.sweeps && (sweep || drag.onAxis);
  if (swept) {
    const range = sweep;
    sweep = null;
    wantRange(range);
  }
  drag = null;
  canvas.classList.remove("dragged");
  if (clicked) {
    pick(clicked, true);
  }
}

function turn(wheel) {
  wheel.preventDefault();
  const by = wheel.deltaMode === 1 ? wheel.deltaY * 16 : wheel.deltaY, { gutter, timeOf } = geometry();
  if (wheel.shiftKey || Math.abs(wheel.deltaX) > Math.abs(wheel.deltaY)) {
    pan((wheel.deltaX || by) / 800);
  } else {
    zoom(Math.exp(by / 400), timeOf(Math.max(gutter, wheel.offsetX)));
  }
}

export function startTimeline() {
  readColours();
  when("theme", () => { readColours(); redraw(); });
  when("rows", () => {
    byId("rows").style.height = axisHeight + Math.max(1, rows.length) * rowHeight + 4 + "px";
    resize();
  });
  when("view", redraw);
  when("teller", redraw);
  when("shown", redraw);
  when("picked", () => { bringIntoView(picked); redraw(); });
  canvas.addEventListener("pointerdown", press);
  canvas.addEventListener("pointermove", move);
  canvas.addEventListener("pointerup", release);
  canvas.addEventListener("pointercancel", () => { drag = sweep = null; redraw(); });
  canvas.addEventListener("pointerleave", () => { tip.hidden = true; });
  canvas.addEventListener("wheel", turn, { passive: false });
  timeline.addEventListener("scroll", redraw);
  new ResizeObserver(resize).observe(timeline);
}
