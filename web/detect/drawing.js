// What is drawn of a detection?  Boxes and moving blocks over the picture, the learned background beside it.
import { makeOverlay, showBoxes } from "../boxes.js";
import { byId } from "../elements.js";
import { isShown } from "./settings.js";

// Red, green, blue and how opaque. Told apart by people who do not tell red from green.
const inObject = [47, 143, 255, 150], movingAlone = [240, 170, 0, 120];
let overlay = null;

function paint(canvas, { columns, rows }, pixels) {
  if (canvas.width !== columns || canvas.height !== rows) {
    Object.assign(canvas, { width: columns, height: rows });
  }
  canvas.getContext("2d").putImageData(new ImageData(pixels, columns, rows), 0, 0);
}

function maskOf(detector) {
  const labels = detector.labels(), moving = detector.moving();
  const pixels = new Uint8ClampedArray(4 * labels.length);
  for (let i = 0; i < labels.length; ++i) {
    if (labels[i] || moving[i]) {
      pixels.set(labels[i] ? inObject : movingAlone, 4 * i);
    }
  }
  return pixels;
}

// The blocks at the right and bottom edge may reach beyond the picture.
function fit(canvas, detector) {
  canvas.style.width = 100 * detector.columns * detector.blockSize / detector.width + "%";
  canvas.style.height = 100 * detector.rows * detector.blockSize / detector.height + "%";
}

export function draw(detector, objects) {
  const boxes = objects.map((object) => detector.boxOf(object)).map(({ x, y, width, height }) => [x, y, width, height]);
  showBoxes(overlay, isShown("boxes") ? boxes : [], detector, detector);
  const mask = byId("mask");
  mask.hidden = !isShown("mask");
  if (!mask.hidden) {
    fit(mask, detector);
    paint(mask, detector, maskOf(detector));
  }
  paint(byId("background"), detector, detector.background());
}

export function startDrawing() {
  overlay = makeOverlay();
  overlay.setAttribute("preserveAspectRatio", "none");
  byId("stage").append(overlay);
}
