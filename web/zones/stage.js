// What is drawn over the picture?  The blocks that zones cover, their outlines, and handles of the one that is picked.
import { palette } from "../colours.js";
import { byId } from "../elements.js";
import { aspect, facts, grid, minSize } from "./facts.js";
import { effectOf } from "./model/checks.js";
import { corner, drawn, pick, picked, when, zoneOf, zones } from "./model/editing.js";
import { middleOf } from "./model/geometry.js";
import { cornersOf } from "./model/zonefile.js";

const stage = byId("stage"), shapes = byId("shapes"), canvas = byId("blocks");
const narrowest = 5;                                         // pixels of a block whose edges are still drawn

// Of a watched zone; null: it is excluded.
export function colourOf(zone) {
  const watched = zones().filter((one) => one.value.exclude !== true);
  return zone.value.exclude === true ? null : palette[watched.indexOf(zone) % palette.length];
}

export function sizeOfStage() {
  return { width: stage.clientWidth, height: stage.clientHeight };
}

// A place of the picture, where the pointer is.
export function placeOf(event) {
  const { left, top, width, height } = shapes.getBoundingClientRect();
  return [(event.clientX - left) / width, (event.clientY - top) / height];
}

export function middlesOf(corners) {
  return corners.map((one, i) => middleOf(one, corners[(i + 1) % corners.length]));
}

// So many elements of this kind in a group; those that are there stay, and keep the focus.
function keep(group, tag, count, made = () => {}) {
  while (group.children.length > count) {
    group.lastChild.remove();
  }
  while (group.children.length < count) {
    const element = document.createElementNS(shapes.namespaceURI, tag);
    made(element, group.children.length);
    group.append(element);
  }
  return [...group.children];
}

function setAll(element, attributes) {
  for (const [name, value] of Object.entries(attributes)) {
    element.setAttribute(name, value);
  }
}

function pixelsOf(corners) {
  const { width, height } = sizeOfStage();
  return corners.map(([x, y]) => [x * width, y * height]);
}

const pointsText = (corners) => pixelsOf(corners).map((point) => point.join(",")).join(" ");

function showOutlines() {
  const drawable = zones().filter((zone) => cornersOf(zone)?.length);
  const makeOutline = (outline) => {
    outline.setAttribute("tabindex", "0");
    outline.addEventListener("focus", () => pick(Number(outline.dataset.zone)));
  };
  keep(byId("outlines"), "polygon", drawable.length, makeOutline).forEach((outline, i) => {
    const zone = drawable[i];
    setAll(outline, { points: pointsText(cornersOf(zone)), "data-zone": zone.id, "aria-label": "zone " + zone.value.name });
    outline.style.stroke = colourOf(zone) || "#000";
    outline.classList.toggle("excluded", zone.value.exclude === true);
    outline.classList.toggle("picked", zone.id === picked);
  });
  keep(byId("names"), "text", drawable.length).forEach((label, i) => {
    const highest = pixelsOf(cornersOf(drawable[i])).reduce((least, point) => point[1] < least[1] ? point : least);
    setAll(label, { x: highest[0] + 10, y: Math.max(14, highest[1] - 6) });
    label.textContent = drawable[i].value.name;
  });
}

function showHandles(zone) {
  const corners = zone && cornersOf(zone) || [];
  keep(byId("between"), "circle", corners.length).forEach((handle, i) => {
    const [x, y] = pixelsOf(middlesOf(corners))[i];
    setAll(handle, { cx: x, cy: y, r: 4 });
  });
  const makeCorner = (handle, i) => {
    handle.setAttribute("tabindex", "0");
    handle.addEventListener("focus", () => pick(picked, i));
  };
  keep(byId("corners"), "circle", corners.length, makeCorner).forEach((handle, i) => {
    const [x, y] = pixelsOf(corners)[i], percent = corners[i].map((part) => (100 * part).toFixed(1) + " %");
    setAll(handle, { cx: x, cy: y, r: 7,
                     "aria-label": "corner " + (i + 1) + " of " + corners.length + ": " + percent.join(", ") });
    handle.classList.toggle("picked", i === corner);
  });
}

// Around the middle of the picked zone.
function showLeastObject(zone) {
  const box = byId("least"), corners = zone && cornersOf(zone) || [];
  box.toggleAttribute("hidden", !corners.length || zone.value.exclude === true);
  if (corners.length) {
    const { width, height } = sizeOfStage(), size = zone.value.min_size ?? minSize;
    const mean = (axis) => corners.reduce((sum, one) => sum + one[axis], 0) / corners.length;
    setAll(box, { x: (mean(0) - size / 2) * width, y: (mean(1) - size / 2) * height, width: size * width,
                  height: size * height });
  }
}

// pointer: where the next corner would be; null: nowhere.
export function showDrawn(pointer = null) {
  const corners = drawn || [];
  byId("line").setAttribute("points", pointsText(pointer && drawn ? [...corners, pointer] : corners));
  keep(byId("dots"), "circle", corners.length).forEach((dot, i) => {
    const [x, y] = pixelsOf(corners)[i];
    setAll(dot, { cx: x, cy: y, r: i ? 4 : 8 });
  });
  shapes.classList.toggle("drawing", drawn !== null);
}

function tint(pen, mask, edge) {
  for (let row = 0; row < grid.rows; ++row) {
    for (let from = 0, to; from < grid.columns; from = to + 1) {
      for (to = from; mask[row * grid.columns + to] && to < grid.columns; ++to) { /* to the end of what is covered */ }
      if (to > from) {
        pen.fillRect(from * edge.x, row * edge.y, (to - from) * edge.x, edge.y);
      }
    }
  }
}

function drawEdges(pen, edge, { width, height }) {
  pen.fillStyle = "rgba(255, 255, 255, 0.15)";
  for (let column = 1; column < grid.columns; ++column) {
    pen.fillRect(column * edge.x, 0, 1, height);
  }
  for (let row = 1; row < grid.rows; ++row) {
    pen.fillRect(0, row * edge.y, width, 1);
  }
}

function showBlocks() {
  const { width, height } = sizeOfStage(), scale = devicePixelRatio, pen = canvas.getContext("2d");
  [canvas.width, canvas.height] = [width * scale, height * scale];
  if (!byId("showblocks").checked) {
    return;
  }
  pen.scale(scale, scale);
  const edge = { x: grid.block * width / grid.width, y: grid.block * height / grid.height };
  if (edge.x >= narrowest) {
    drawEdges(pen, edge, { width, height });
  }
  for (const zone of zones()) {
    const blocks = effectOf(zone, zones(), facts);
    pen.fillStyle = colourOf(zone) || "#000";
    pen.globalAlpha = zone.id === picked || !colourOf(zone) ? 0.5 : 0.3;
    if (blocks) {
      tint(pen, blocks, edge);
    }
  }
}

function showAll() {
  const zone = zoneOf(picked);
  showOutlines();
  showHandles(zone);
  showLeastObject(zone);
  showDrawn();
  showBlocks();
}

// The keyboard goes on with what the pointer has picked.
export function focusPicked() {
  const outline = byId("outlines").querySelector("[data-zone=\"" + picked + "\"]");
  (byId("corners").children[corner] || outline || shapes).focus({ preventScroll: true });
}

export function startStage() {
  stage.style.setProperty("--aspect", aspect);
  byId("showblocks").addEventListener("input", showBlocks);
  new ResizeObserver(showAll).observe(stage);
  when(showAll);
}
