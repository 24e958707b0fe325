// When was what?  A canvas with a row per camera, or per input where no time of day is known; zooms and pans.
const canvas = byId("canvas"), pen = canvas.getContext("2d"), timeline = byId("timeline"), tip = byId("tip");
const rowHeight = 26, barHeight = 14, axisHeight = 26, shortestView = 1;
const view = { from: 0, to: 1 }, whole = { from: 0, to: 1 };
let clock = false, rows = [], shown = [], colors = {}, gutter = 0, due = false;

const origin = (input) => clock ? input.begin : 0;
const placed = (input) => !clock || input.begin !== null;

function layRows() {
  const of = new Map();
  rows = [];
  for (const input of inputs) {
    const name = clock ? input.camera : input.file;
    if (!placed(input) || input.seconds === 0) {
      input.row = -1;
      continue;
    }
    if (!clock || !of.has(name)) {
      of.set(name, rows.length);
      rows.push({ name, inputs: [] });
    }
    input.row = of.get(name);
    rows[input.row].inputs.push(input);
  }
  const used = inputs.filter((input) => input.row >= 0);
  whole.from = used.reduce((least, input) => Math.min(least, origin(input)), clock ? Infinity : 0);
  whole.to = used.reduce((most, input) => Math.max(most, origin(input) + input.seconds), whole.from + shortestView);
  if (!used.length) {
    Object.assign(whole, { from: 0, to: 1 });
  }
  byId("rows").style.height = axisHeight + Math.max(1, rows.length) * rowHeight + 4 + "px";
  Object.assign(view, whole);
  resize();
}

function resize() {
  const width = timeline.clientWidth, height = Math.min(timeline.clientHeight, byId("rows").offsetHeight);
  const scale = window.devicePixelRatio || 1;
  canvas.style.height = height + "px";
  canvas.width = Math.max(1, Math.round(width * scale));
  canvas.height = Math.max(1, Math.round(height * scale));
  pen.setTransform(scale, 0, 0, scale, 0, 0);
  gutter = Math.min(220, Math.max(84, width * 0.16));
  draw();                                                    // at once: its new size has emptied the canvas
}

function readColors() {
  const style = getComputedStyle(document.documentElement);
  for (const name of ["text", "dim", "line", "track", "accent", "bad", "gap", "card"]) {
    colors[name] = style.getPropertyValue("--" + name).trim();
  }
}

const across = () => canvas.clientWidth - gutter - 8;
const xOf = (time) => gutter + (time - view.from) / (view.to - view.from) * across();
const timeOf = (x) => view.from + (x - gutter) / across() * (view.to - view.from);

function setView(from, to) {
  const span = Math.min(Math.max(to - from, shortestView), whole.to - whole.from);
  const begin = Math.min(Math.max(to - from < span ? (from + to - span) / 2 : from, whole.from), whole.to - span);
  Object.assign(view, { from: begin, to: begin + span });
  redraw();
}

function zoom(factor, around = (view.from + view.to) / 2) {
  setView(around - (around - view.from) * factor, around + (view.to - around) * factor);
}

function pan(part) {
  const by = (view.to - view.from) * part;
  setView(view.from + by, view.to + by);
}

function redraw() {
  if (!due) {
    due = true;
    requestAnimationFrame(() => { due = false; draw(); });
  }
}

function tickStep() {
  const least = (view.to - view.from) / across() * 84;
  const steps = [0.1, 0.2, 0.5, 1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400];
  return steps.find((step) => step >= least) || Math.ceil(least / 86400) * 86400;
}

function drawAxis() {
  const step = tickStep(), shift = clock ? new Date(view.from * 1000).getTimezoneOffset() * 60 : 0;
  const first = Math.ceil((view.from - shift) / step) * step + shift;
  let day = "";
  pen.textAlign = "left";
  for (let i = 0; first + i * step <= view.to; ++i) {
    const time = Math.round((first + i * step) * 10) / 10, x = xOf(time);        // 0.8, not a little less: labels round down
    pen.fillStyle = colors.line;
    pen.fillRect(x, axisHeight - 6, 1, canvas.clientHeight);
    let label = secondsText(time, step < 1);
    if (clock) {
      label = step < 60 ? clockText(time, step < 1) : clockText(time).slice(0, 5);
      if (dateText(time) !== day) {
        day = dateText(time);
        label = step >= 86400 ? day.slice(5) : i === 0 ? label : day.slice(5) + " " + label;
      }
    }
    pen.fillStyle = colors.dim;
    if (x + pen.measureText(label).width < canvas.clientWidth) {
      pen.fillText(label, x + 3, 12);
    }
  }
}

// A name without its beginning, for what tells inputs apart stands at the end.
function fitting(name, width) {
  if (pen.measureText(name).width <= width) {
    return name;
  }
  let cut = Math.max(0, name.length - 60);
  while (cut < name.length && pen.measureText("\u2026" + name.slice(cut)).width > width) {
    ++cut;
  }
  return "\u2026" + name.slice(cut);
}

// What was scanned, and where that broke off.
function drawInputs(first, last, yOf) {
  for (let row = first; row <= last; ++row) {
    for (const input of rows[row].inputs) {
      const left = xOf(origin(input)), right = xOf(origin(input) + input.seconds);
      pen.fillStyle = colors.track;
      pen.fillRect(left, yOf(row) + 4, Math.max(1, right - left - 1), rowHeight - 8);
      if (input.status !== "complete") {
        pen.fillStyle = colors.bad;
        pen.fillRect(left, yOf(row) + rowHeight - 5, Math.max(2, right - left - 1), 2);
      }
    }
  }
  for (const gap of gaps) {
    if (gap.input.row >= first && gap.input.row <= last) {
      const left = xOf(origin(gap.input) + gap.start), right = xOf(origin(gap.input) + gap.end);
      pen.fillStyle = colors.gap;
      pen.fillRect(left, yOf(gap.input.row) + rowHeight / 2 - 1, Math.max(2, right - left), 2);
    }
  }
}

// From where to where an event is drawn: at least two pixels, which can be seen and met.
function edges(event) {
  const left = Math.round(xOf(origin(event.input) + event.start));
  return { left, right: Math.max(left + 2, Math.round(xOf(origin(event.input) + event.end))) };
}

// A column of pixels shows the colours of all events in it: whichever comes last in the list must not hide the others.
function drawEvents(first, last, yOf) {
  const width = canvas.clientWidth, least = Math.floor(gutter), ofRow = [];
  for (let row = first; row <= last; ++row) {
    ofRow[row] = new Uint16Array(width + 1);                 // one more, that the last bar ends
  }
  for (const event of shown) {
    const columns = ofRow[event.input.row];
    if (columns) {
      const { left, right } = edges(event);
      for (let x = Math.max(left, least); x < Math.min(right, width); ++x) {
        columns[x] |= event.colors;
      }
    }
  }
  ofRow.forEach((columns, row) => {
    for (let x = least, left = x; x <= width; ++x) {
      if (columns[x] !== columns[left]) {
        drawBar(left, x, yOf(row), columns[left]);
        left = x;
      }
    }
  });
  if (shown.includes(picked) && ofRow[picked.input.row]) {
    const { left, right } = edges(picked);
    pen.strokeStyle = colors.text;
    pen.lineWidth = 2;
    pen.strokeRect(left - 2, yOf(picked.input.row) + (rowHeight - barHeight) / 2 - 2, right - left + 4, barHeight + 4);
  }
}

function drawBar(left, right, y, bits) {
  const used = [colors.accent, ...palette].filter((_, bit) => bits >> bit & 1), height = barHeight / used.length;
  used.forEach((color, i) => {
    pen.fillStyle = color;
    pen.fillRect(left, y + (rowHeight - barHeight) / 2 + i * height, right - left, height);
  });
}

function draw() {
  const width = canvas.clientWidth, height = canvas.clientHeight, top = timeline.scrollTop;
  pen.clearRect(0, 0, width, height);
  pen.font = "12px " + getComputedStyle(document.body).fontFamily;
  pen.textBaseline = "middle";
  drawAxis();
  pen.save();
  pen.beginPath();
  pen.rect(0, axisHeight, width, height);
  pen.clip();
  const first = Math.floor(top / rowHeight), last = Math.min(rows.length - 1, Math.ceil((top + height) / rowHeight));
  const yOf = (row) => axisHeight + row * rowHeight - top;
  pen.save();
  pen.beginPath();
  pen.rect(gutter, axisHeight, width, height);
  pen.clip();
  drawInputs(first, last, yOf);
  drawEvents(first, last, yOf);
  pen.restore();
  pen.fillStyle = colors.text;
  for (let row = first; row <= last; ++row) {
    pen.fillText(fitting(rows[row].name, gutter - 10), 2, yOf(row) + rowHeight / 2);
  }
  pen.restore();
  const fine = view.to - view.from < 60;
  const textOf = (time) => clock ? dateText(time) + " " + clockText(time, fine) : secondsText(time, fine);
  const missing = clock ? inputs.filter((input) => input.seconds > 0 && !placed(input)).length : 0;
  byId("range").textContent = (rows.length ? textOf(view.from) + " to " + textOf(view.to) : "") +
                              (missing ? "; " + missing + " without a time of day not shown" : "");
  canvas.dataset.from = view.from;
  canvas.dataset.to = view.to;
  canvas.dataset.rows = rows.length;
}

// The shown event under a point of the canvas.
function eventAt(x, y) {
  const row = Math.floor((y - axisHeight + timeline.scrollTop) / rowHeight);
  let best = null, distance = 5;
  for (const event of x < gutter || y < axisHeight ? [] : shown) {
    if (event.input.row === row) {
      const { left, right } = edges(event);
      const away = Math.max(left - x, x - right, 0);
      if (away < distance) {
        best = event;
        distance = away;
      }
    }
  }
  return best;
}

function bringIntoView(event) {
  if (event.input.row < 0) {
    return;
  }
  const from = origin(event.input) + event.start, to = origin(event.input) + event.end, span = view.to - view.from;
  if (from < view.from || to > view.to) {
    setView((from + to - span) / 2, (from + to + span) / 2);
  }
  const y = event.input.row * rowHeight;
  if (y < timeline.scrollTop || y + rowHeight + axisHeight > timeline.scrollTop + timeline.clientHeight) {
    timeline.scrollTop = y - timeline.clientHeight / 2;
  }
}

let drag = null;
canvas.addEventListener("pointerdown", (press) => {
  drag = { x: press.offsetX, y: press.offsetY, from: view.from, to: view.to, top: timeline.scrollTop, moved: false };
  canvas.setPointerCapture(press.pointerId);
});
canvas.addEventListener("pointermove", (move) => {
  if (drag) {
    drag.moved = drag.moved || Math.abs(move.offsetX - drag.x) + Math.abs(move.offsetY - drag.y) > 4;
    if (drag.moved) {
      const by = (drag.x - move.offsetX) / across() * (drag.to - drag.from);
      canvas.classList.add("dragged");
      setView(drag.from + by, drag.to + by);
      timeline.scrollTop = drag.top + drag.y - move.offsetY;
    }
    return;
  }
  const event = eventAt(move.offsetX, move.offsetY);
  tip.hidden = !event;
  canvas.style.cursor = event ? "pointer" : "";
  if (event) {
    tip.textContent = baseName(event.input.file) + ", " + eventTime(event) + ", " + lengthText(event.length) +
                      (event.zones ? ", " + event.zones.join(", ") : "");
    const box = byId("overview").getBoundingClientRect();
    tip.style.left = Math.max(0, Math.min(move.clientX - box.left + 12, box.width - tip.offsetWidth - 8)) + "px";
    tip.style.top = move.clientY - box.top + 16 + "px";
  }
});
canvas.addEventListener("pointerup", (release) => {
  const clicked = drag && !drag.moved ? eventAt(release.offsetX, release.offsetY) : null;
  drag = null;
  canvas.classList.remove("dragged");
  if (clicked) {
    pick(clicked, true);
  }
});
canvas.addEventListener("pointerleave", () => { tip.hidden = true; });
canvas.addEventListener("wheel", (wheel) => {
  wheel.preventDefault();
  const turn = wheel.deltaMode === 1 ? wheel.deltaY * 16 : wheel.deltaY;
  if (wheel.shiftKey || Math.abs(wheel.deltaX) > Math.abs(wheel.deltaY)) {
    pan((wheel.deltaX || turn) / 800);
  } else {
    zoom(Math.exp(turn / 400), timeOf(Math.max(gutter, wheel.offsetX)));
  }
}, { passive: false });
timeline.addEventListener("scroll", redraw);
new ResizeObserver(resize).observe(timeline);
