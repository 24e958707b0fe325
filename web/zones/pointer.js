// What does the pointer do to the zones?  Mouse, pen and finger alike: corners are drawn and moved, zones picked and moved.
import { byId } from "../elements.js";
import { addCorner, closeDrawing, drawn, insertCorner, moveCorner, moveNewCorner, moveZone, pick, picked, undo,
         zoneOf, zones } from "./model/editing.js";
import { contains, nearest } from "./model/geometry.js";
import { cornersOf } from "./model/zonefile.js";
import { focusPicked, middlesOf, placeOf, showDrawn, sizeOfStage } from "./stage.js";

const shapes = byId("shapes");
const reaches = { touch: 20, pen: 12 }, usualReach = 9;      // pixels around a handle
const steadyHand = 3, sameClick = 5;                         // pixels: a shorter way is no move, and no corner
let held = null;                                             // what the pointer has hold of: its start, and who moves with it
let gestures = 0;

const isNear = (one, other, reach) => nearest([one], other, sizeOfStage(), reach) === 0;

// A new corner, but where the first one closes the polygon, or a double click says its second.
function takeDrawing(at, reach) {
  if (drawn.length > 2 && isNear(drawn[0], at, reach)) {
    closeDrawing();
    return null;
  }
  if (!drawn.length || !isNear(drawn.at(-1), at, sameClick)) {
    addCorner(at);
  }
  return { move: moveNewCorner, changed: true };
}

function takeCorner(zone, place, at, step) {
  const [x, y] = cornersOf(zoneOf(zone.id))[place];
  pick(zone.id, place);
  return { move: (to) => moveCorner(zone.id, place, [x + to[0] - at[0], y + to[1] - at[1]], step) };
}

// Of those that lie one over another, the picked one, else the last.
function zoneAt(at) {
  const under = zones().filter((zone) => cornersOf(zone) && contains(cornersOf(zone), at));
  return under.find((zone) => zone.id === picked) || under.at(-1);
}

function take(at, reach, step) {
  const zone = zoneOf(picked), corners = zone && cornersOf(zone) || [];
  const here = nearest(corners, at, sizeOfStage(), reach);
  if (here >= 0) {
    return takeCorner(zone, here, at, step);
  }
  const between = nearest(middlesOf(corners), at, sizeOfStage(), reach);
  if (between >= 0) {
    insertCorner(zone.id, between, step);
    return { ...takeCorner(zone, between + 1, at, step), changed: true };
  }
  const under = zoneAt(at);
  pick(under ? under.id : null);
  const before = under && cornersOf(under);
  return under ? { move: (to) => moveZone(under.id, before, to[0] - at[0], to[1] - at[1], step) } : null;
}

function press(event) {
  if (event.button !== 0 || held) {
    return;
  }
  const at = placeOf(event), reach = reaches[event.pointerType] || usualReach;
  held = drawn ? takeDrawing(at, reach) : take(at, reach, "drag " + ++gestures);
  if (held) {
    Object.assign(held, { at, pointer: event.pointerId, moves: false });
    shapes.setPointerCapture(event.pointerId);
  }
  focusPicked();
}

function move(event) {
  const at = placeOf(event);
  if (!held) {
    showDrawn(at);
  } else if (event.pointerId === held.pointer && (held.moves || !isNear(held.at, at, steadyHand))) {
    held.moves = held.changed = true;
    held.move(at);
  }
}

function release(event) {
  held = held && event.pointerId === held.pointer ? null : held;
}

function giveUp(event) {
  if (held && event.pointerId === held.pointer && held.changed) {
    undo();
  }
  release(event);
}

export function startPointer() {
  shapes.addEventListener("pointerdown", press);
  shapes.addEventListener("pointermove", move);
  shapes.addEventListener("pointerup", release);
  shapes.addEventListener("pointercancel", giveUp);
  shapes.addEventListener("pointerleave", () => showDrawn());
  shapes.addEventListener("mousedown", (event) => event.preventDefault());      // the focus is where press has put it
  shapes.addEventListener("dblclick", closeDrawing);
}
