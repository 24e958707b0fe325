// Where in a picture do boxes stand, as large as it is shown?  Drawn above it, with borders around it as
// "object-fit: contain" leaves them.
import { byId } from "./elements.js";

function makeShape(tag) {
  return document.createElementNS("http://www.w3.org/2000/svg", tag);
}

// To lie on the element that shows the picture.
export function makeOverlay() {
  const overlay = makeShape("svg");
  overlay.setAttribute("class", "boxes");
  overlay.setAttribute("aria-hidden", "true");
  return overlay;
}

// boxes: [x, y, width, height] in pixels of what was scanned, which is so wide and high. size: what is shown of it, which
// may be smaller, or have other pixels than square ones.
export function showBoxes(overlay, boxes, { width, height }, size) {
  const across = size.width / width, down = size.height / height;
  if (!Number.isFinite(across + down) || !size.width || !size.height) {
    overlay.replaceChildren();
    return;
  }
  overlay.setAttribute("viewBox", `0 0 ${size.width} ${size.height}`);
  overlay.replaceChildren(...boxes.map((box) => {
    const shape = makeShape("rect");
    shape.setAttribute("x", box[0] * across);
    shape.setAttribute("y", box[1] * down);
    shape.setAttribute("width", box[2] * across);
    shape.setAttribute("height", box[3] * down);
    return shape;
  }));
}

export function toggleBoxes() {
  const hidden = document.documentElement.classList.toggle("unboxed");
  byId("boxes").setAttribute("aria-pressed", !hidden);
}

export function startBoxes() {
  byId("boxes").addEventListener("click", toggleBoxes);
}
