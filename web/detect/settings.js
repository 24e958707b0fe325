// What has the viewer set?  Block, rate and smallest size, by sliders, and what is drawn over the picture.
import { byId } from "../elements.js";

export const blockSizes = [1, 2, 4, 8, 12, 16, 24, 32, 48, 64];

function show(slider, text) {
  byId(slider + "-value").textContent = text;
  byId(slider).setAttribute("aria-valuetext", text);
}

const texts = {
  block: (value) => blockSizes[value] + " px",
  rate: (value) => value + " a second",
  smallest: (value) => value === 0 ? "any" : value + " %",
};

function valueOf(slider) {
  return Number(byId(slider).value);
}

export function settings() {
  return { blockSize: blockSizes[valueOf("block")], rate: valueOf("rate"), smallest: valueOf("smallest") / 100 };
}

// The first block size of a video is the one that suits it.
export function offerBlockSize(size) {
  byId("block").value = blockSizes.findIndex((one) => one >= size);
  show("block", texts.block(valueOf("block")));
}

export function isShown(what) {
  return byId("show-" + what).checked;
}

export function startSettings() {
  byId("block").max = blockSizes.length - 1;
  for (const [slider, text] of Object.entries(texts)) {
    byId(slider).addEventListener("input", () => show(slider, text(valueOf(slider))));
    show(slider, text(valueOf(slider)));
  }
}
