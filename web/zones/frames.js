// Which moment of the video is behind the zones?  The pictures that the page has, by a slider.
import { byId, pictureAddress } from "../elements.js";
import { secondsText } from "../texts.js";

let pictures = [];

function show() {
  const place = Number(byId("time").value), { at, jpeg } = pictures[place];
  byId("frame").src = pictureAddress(jpeg);
  byId("at").textContent = secondsText(at, true);
  byId("time").setAttribute("aria-valuetext", secondsText(at, true));
}

export function stepPicture(by) {
  byId("time").value = Number(byId("time").value) + by;
  show();
}

export function startFrames(itsPictures) {
  pictures = itsPictures;
  byId("time").max = pictures.length - 1;
  byId("time").addEventListener("input", show);
  byId("moments").hidden = pictures.length < 2;
  show();
}
