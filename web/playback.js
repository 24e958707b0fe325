// When does playing an event end, and what comes then?  It stops where the event does, or goes on to the next one.
import { byId } from "./elements.js";
import { neighbour, picked, step, when } from "./model/state.js";

const video = byId("video"), button = byId("playall");
const longestLook = 3000;                                    // milliseconds, at an event that cannot be played
const early = 0.02;                                          // seconds: less than a picture
let ends = false;                                            // playing stops at the event's end
let all = false;                                             // and the next one begins

function end() {
  return picked.at + picked.length;
}

function setAll(on) {
  all = on;
  button.setAttribute("aria-pressed", on);
}

function goOn() {
  if (neighbour(1)) {
    step(1, true);
  } else {
    setAll(false);
  }
}

function finish() {
  ends = false;
  video.pause();
  if (all) {
    goOn();
  }
}

function look() {
  if (ends && !video.seeking && !video.hidden && video.currentTime >= end() - early) {
    finish();
  }
}

function lookAtEachPicture() {
  look();
  video.requestVideoFrameCallback(lookAtEachPicture);
}

function begin() {
  ends = true;
  if (!picked.link) {
    passBy();
  }
}

function passBy() {
  const event = picked;
  setTimeout(() => {
    if (all && picked === event) {
      goOn();
    }
  }, longestLook);
}

export function togglePlayAll() {
  setAll(!all);
  if (!all) {
    return;
  }
  if (!picked || !ends) {
    goOn();
  } else if (video.getAttribute("src") && !video.hidden) {
    video.play().catch(() => {});                            // what goes wrong is told by "error"
  } else {
    passBy();
  }
}

export function startPlayback() {
  when("picked", begin);
  button.addEventListener("click", togglePlayAll);
  video.addEventListener("timeupdate", look);
  video.addEventListener("ended", () => { if (ends) { finish(); } });
  video.addEventListener("seeked", () => { ends = video.currentTime < end() - early; });     // behind it, nothing stops
  video.addEventListener("error", () => { if (picked && video.getAttribute("src")) { passBy(); } });
  if (video.requestVideoFrameCallback) {
    video.requestVideoFrameCallback(lookAtEachPicture);
  }
}
