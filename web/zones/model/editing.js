// What is being edited?  The zones, what of them is picked, and the polygon that is being drawn. Parts read it here, change it
// with the functions here only, and hear of every change by when().
import { middleOf, rounded, shifted } from "./geometry.js";
import { after, back, beginning, forth } from "./history.js";
import { cornersOf, freeName, noZones, readZones, textOf, withExclusion, withoutZone, withPolygon, withValue, withZone }
  from "./zonefile.js";

let history = beginning(noZones()), stored = textOf(history.now);
export let name = "zones.json";                              // of the file
export let picked = null;                                    // id of a zone
export let corner = -1;                                      // of its corners; -1: none
export let drawn = null;                                     // corners so far; null: nothing is being drawn
const listeners = [];

export function when(act) {
  listeners.push(act);
}

function tell() {
  listeners.forEach((act) => act());
}

export const zones = () => history.now.zones;
export const text = () => textOf(history.now);
export const isUnsaved = () => text() !== stored;
export const canUndo = () => drawn !== null || history.past.length > 0;
export const canRedo = () => drawn === null && history.future.length > 0;
export const zoneOf = (id) => zones().find((zone) => zone.id === id);

const cornersOfPicked = () => picked !== null && zoneOf(picked) && cornersOf(zoneOf(picked)) || [];

// Of a zone with another number of corners, which one was picked is no longer known.
function tellOf(next) {
  const before = cornersOfPicked().length;
  history = next;
  picked = zoneOf(picked) ? picked : null;
  corner = cornersOfPicked().length === before ? corner : -1;
  tell();
}

function change(file, step) {
  tellOf(after(history, textOf(file) === text() ? history.now : file, step));
}

// A file that was read; what was there before can be taken back. Throws where it is none.
export function open(itsText, itsName) {
  const file = readZones(itsText);
  [name, stored, drawn, picked, corner] = [itsName, itsText, null, null, -1];
  change(file);
}

// The same, at the beginning of the page.
export function begin(itsText, itsName) {
  open(itsText, itsName);
  history = beginning(history.now);
}

export function noteSaved() {
  stored = text();
  tell();
}

export function undo() {
  if (drawn) {
    takeBackCorner();
  } else if (canUndo()) {
    tellOf(back(history));
  }
}

export function redo() {
  if (canRedo()) {
    tellOf(forth(history));
  }
}

export function pick(id, itsCorner = -1) {
  if (picked !== id || corner !== itsCorner) {
    [picked, corner] = [id, itsCorner];
    tell();
  }
}

export function beginDrawing() {
  [drawn, picked, corner] = [[], null, -1];
  tell();
}

export function cancelDrawing() {
  drawn = null;
  tell();
}

export function addCorner([x, y]) {
  drawn = [...drawn, [rounded(x), rounded(y)]];
  tell();
}

export function moveNewCorner([x, y]) {
  drawn = [...drawn.slice(0, -1), [rounded(x), rounded(y)]];
  tell();
}

function takeBackCorner() {
  drawn = drawn.length ? drawn.slice(0, -1) : null;
  tell();
}

// A polygon of three corners and more becomes a zone.
export function closeDrawing() {
  if (drawn && drawn.length > 2) {
    const polygon = drawn;
    drawn = null;
    addZone(polygon);
  }
}

export function addZone(polygon) {
  const file = withZone(history.now, freeName(zones()), polygon);
  picked = file.zones.at(-1).id;
  corner = -1;
  change(file);
}

export function removeZone(id) {
  change(withoutZone(history.now, id));
}

// step: as of a history.
export function moveCorner(id, place, [x, y], step) {
  const corners = cornersOf(zoneOf(id)).map((one, i) => i === place ? [rounded(x), rounded(y)] : one);
  change(withPolygon(history.now, id, corners), step);
}

// corners: of the zone before it is moved.
export function moveZone(id, corners, across, down, step) {
  change(withPolygon(history.now, id, shifted(corners, across, down)), step);
}

// Behind the corner, on the way to the next one; it is picked then.
export function insertCorner(id, place, step) {
  const corners = cornersOf(zoneOf(id)), next = corners[(place + 1) % corners.length];
  const added = [...corners.slice(0, place + 1), middleOf(corners[place], next), ...corners.slice(place + 1)];
  change(withPolygon(history.now, id, added), step);
  pick(id, place + 1);
}

// Not one of the last three: without it there is no polygon.
export function removeCorner(id, place) {
  const corners = cornersOf(zoneOf(id));
  if (corners.length > 3) {
    change(withPolygon(history.now, id, corners.filter((_, i) => i !== place)));
  }
}

export function setName(id, itsName) {
  change(withValue(history.now, id, "name", itsName), "name " + id);
}

export function setExclusion(id, exclude) {
  change(withExclusion(history.now, id, exclude));
}

// key: min_size or max_size; value: undefined takes it away.
export function setSize(id, key, value) {
  change(withValue(history.now, id, key, value), key + " " + id);
}
