// Which part of the scene is asked for?  A rectangle, dragged on a camera's picture or moved with the arrow keys, leaves the
// events that touched it.
import { byId, make } from "./elements.js";
import { cameras, want, wanted, when } from "./model/state.js";

const leastDrag = 4;                                         // CSS pixels: less is a click
const keyStep = 0.05;                                        // of the picture's side
const firstPart = 0.25;                                      // of the picture: what keys begin with, in its middle

function ask(place) {
  want({ ...wanted, place });
}

function between(low, value, high) {
  return Math.min(Math.max(value, low), high);
}

// [x, y, width, height] from two corners, within the picture.
function areaOf([x, y], [otherX, otherY], { width, height }) {
  const left = between(0, Math.min(x, otherX), width), top = between(0, Math.min(y, otherY), height);
  return [left, top, between(0, Math.max(x, otherX), width) - left, between(0, Math.max(y, otherY), height) - top];
}

// How far a key leads across and down, as [columns, rows] of steps.
const ways = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };

function movedBy([x, y, areaWidth, areaHeight], [across, down], larger, { width, height }) {
  const byX = across * keyStep * width, byY = down * keyStep * height;
  return larger
    ? [x, y, between(keyStep * width, areaWidth + byX, width - x), between(keyStep * height, areaHeight + byY, height - y)]
    : [between(0, x + byX, width - areaWidth), between(0, y + byY, height - areaHeight), areaWidth, areaHeight];
}

// scene: the element that shows the camera's whole picture.
export function askPlaces(scene, camera) {
  const mark = make("i", "", "area");
  let corner = null;                                         // where the button went down
  const isHere = () => wanted.place && wanted.place.camera === camera.camera;
  const show = ([x, y, width, height]) => {
    mark.style.left = 100 * x / camera.width + "%";
    mark.style.top = 100 * y / camera.height + "%";
    mark.style.width = 100 * width / camera.width + "%";
    mark.style.height = 100 * height / camera.height + "%";
    mark.hidden = false;
  };
  const pointOf = ({ clientX, clientY }) => {
    const box = scene.getBoundingClientRect();
    return [(clientX - box.left) / box.width * camera.width, (clientY - box.top) / box.height * camera.height];
  };
  const showWanted = () => isHere() ? show(wanted.place.area) : (mark.hidden = true);

  scene.tabIndex = 0;
  scene.setAttribute("role", "group");
  scene.setAttribute("aria-label", "Drag over a place, or press an arrow key, to see the events that touched it");
  scene.title = "Drag over a place to see the events that touched it";
  scene.append(mark);
  scene.addEventListener("pointerdown", (press) => {
    if (press.button !== 0) {
      return;
    }
    press.preventDefault();
    scene.focus({ preventScroll: true });
    scene.setPointerCapture(press.pointerId);
    corner = { point: pointOf(press), x: press.clientX, y: press.clientY };
  });
  scene.addEventListener("pointermove", (move) => corner && show(areaOf(corner.point, pointOf(move), camera)));
  scene.addEventListener("pointercancel", () => { corner = null; showWanted(); });
  scene.addEventListener("pointerup", (release) => {
    if (!corner) {
      return;                                                // it went down elsewhere, or was another button
    }
    const far = Math.min(Math.abs(release.clientX - corner.x), Math.abs(release.clientY - corner.y)) >= leastDrag;
    const area = far ? areaOf(corner.point, pointOf(release), camera) : null;
    corner = null;
    ask(area ? { camera: camera.camera, area } : null);
  });
  scene.addEventListener("keydown", (press) => {
    const middle = [(1 - firstPart) / 2 * camera.width, (1 - firstPart) / 2 * camera.height, firstPart * camera.width,
                    firstPart * camera.height];
    if (ways[press.key] && !press.ctrlKey && !press.altKey && !press.metaKey) {
      const area = isHere() ? movedBy(wanted.place.area, ways[press.key], press.shiftKey, camera) : middle;
      press.preventDefault();
      press.stopPropagation();                               // else it moves the timeline, too
      ask({ camera: camera.camera, area });
    }
  });
  when("shown", showWanted);
  showWanted();
}

export function startPlace() {
  byId("place").addEventListener("click", () => ask(null));
  when("shown", () => {
    byId("place").hidden = !wanted.place;
    byId("place").textContent = wanted.place ? "Place: " + cameras.get(wanted.place.camera) + " \u00d7" : "";
  });
}
