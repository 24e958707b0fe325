// What do buttons and keys do?
import { byId } from "../elements.js";
import { grid } from "./facts.js";
import { save } from "./storing.js";
import { stepPicture } from "./frames.js";
import { addZone, beginDrawing, cancelDrawing, canRedo, canUndo, closeDrawing, corner, drawn, insertCorner, moveCorner,
         moveZone, pick, picked, redo, removeCorner, removeZone, undo, when, zoneOf } from "./model/editing.js";
import { cornersOf } from "./model/zonefile.js";
import { focusPicked } from "./stage.js";

const middle = [[1 / 3, 1 / 3], [2 / 3, 1 / 3], [2 / 3, 2 / 3], [1 / 3, 2 / 3]].map((place) =>
  place.map((part) => Number(part.toFixed(3))));

function toggleHelp() {
  byId("keys").hidden = !byId("keys").hidden;
  byId("help").setAttribute("aria-expanded", !byId("keys").hidden);
}

function toggleDrawing() {
  (drawn ? cancelDrawing : beginDrawing)();
}

function addRectangle() {
  cancelDrawing();
  addZone(middle);
  focusPicked();
}

// Of the picked zone.
const corners = () => picked !== null && cornersOf(zoneOf(picked)) || [];

function remove() {
  if (drawn) {
    undo();
  } else if (corner >= 0) {
    removeCorner(picked, corner);
    focusPicked();
  } else if (picked !== null) {
    removeZone(picked);
    focusPicked();
  }
}

function insert() {
  if (corner >= 0) {
    insertCorner(picked, corner);
    focusPicked();
  }
}

function leave() {
  if (drawn) {
    cancelDrawing();
  } else {
    pick(corner >= 0 ? picked : null);
    focusPicked();
  }
}

function toggleBlocks() {
  byId("showblocks").click();
}

// By pixels of the video.
function nudge(across, down) {
  const [dx, dy] = [across / grid.width, down / grid.height], here = corners()[corner];
  const step = "keys " + picked + " " + corner;
  if (here) {
    moveCorner(picked, corner, [here[0] + dx, here[1] + dy], step);
  } else if (corners().length) {
    moveZone(picked, corners(), dx, dy, step);
  }
}

const directions = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };
const acts = {
  d: toggleDrawing, r: addRectangle, i: insert, b: toggleBlocks, "?": toggleHelp, ",": () => stepPicture(-1),
  ".": () => stepPicture(1), Delete: remove, Backspace: remove, Enter: closeDrawing, Escape: leave,
};
const controlActs = { z: undo, y: redo, s: save };

function act(press) {
  const field = press.target.closest("input, select"), onStage = press.target.closest("#stage");
  const control = press.ctrlKey || press.metaKey, key = press.key.length > 1 ? press.key : press.key.toLowerCase();
  const many = press.shiftKey ? 10 : 1, direction = directions[key];
  const wanted = press.altKey ? null : control ? (key === "z" && press.shiftKey ? redo : controlActs[key])
    : direction && onStage ? () => nudge(...direction.map((part) => part * many)) : acts[key];
  if (!wanted || field && !(control && key === "s") || key === "Enter" && !drawn ||
      press.target.closest("button") && key === "Enter") {
    return;
  }
  press.preventDefault();
  wanted();
}

function showState() {
  byId("draw").setAttribute("aria-pressed", drawn !== null);
  byId("undo").disabled = !canUndo();
  byId("redo").disabled = !canRedo();
  byId("hint").textContent = drawn
    ? "Click for every corner; double click, Enter or a click on the first one closes the zone, Esc leaves it."
    : "Draw a zone, or pick one: drag it, its corners, or the dots between them, which make new ones.";
}

export function startShortcuts() {
  const buttons = { draw: toggleDrawing, rectangle: addRectangle, undo, redo, help: toggleHelp };
  for (const [id, does] of Object.entries(buttons)) {
    byId(id).addEventListener("click", does);
  }
  document.addEventListener("keydown", act);
  when(showState);
}
