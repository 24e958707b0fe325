// Where is the object now?  Its box moves over what #player plays; over the picture of the peak, all of its boxes stand.
import { makeOverlay, showBoxes } from "./boxes.js";
import { byId } from "./elements.js";
import { boxAt, trackOf } from "./model/track.js";
import { picked, when } from "./model/state.js";

const video = byId("video"), still = byId("still"), overlay = makeOverlay();
let points = [];

// Browsers show the poster until there is a picture, or as long as nobody has played or sought.
function showsPoster() {
  return video.readyState < 2 || (video.currentTime === 0 && video.played.length === 0 && Boolean(picked.picture));
}

function showNow() {
  if (!picked) {
    return;
  }
  if (!still.hidden) {
    showBoxes(overlay, picked.boxes, picked.input, { width: still.naturalWidth, height: still.naturalHeight });
  } else if (showsPoster()) {
    showBoxes(overlay, picked.picture ? picked.boxes : [], picked.input, picked.input);
  } else {
    const box = boxAt(points, video.currentTime - picked.at + picked.start);
    showBoxes(overlay, box ? [box] : [], picked.input, { width: video.videoWidth, height: video.videoHeight });
  }
}

// With each picture of the video where the browser tells of them, else a few times a second.
function follow() {
  showNow();
  video.requestVideoFrameCallback(follow);
}

export function startTracking() {
  byId("screen").append(overlay);
  when("picked", () => { points = trackOf(picked); showNow(); });
  for (const change of ["loadeddata", "seeked", "timeupdate", "play", "error"]) {
    video.addEventListener(change, showNow);
  }
  still.addEventListener("load", showNow);
  if (video.requestVideoFrameCallback) {
    video.requestVideoFrameCallback(follow);
  }
}
