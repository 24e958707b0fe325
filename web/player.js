// What was it?  #player plays the picked event from its first second, in its clip or in the recording.
import { byId, make, pictureAddress } from "./elements.js";
import { addZoneMarks } from "./marks.js";
import { conditionsDuring } from "./model/conditions.js";
import { neighbour, picked, step, when } from "./model/state.js";
import { baseName, eventTime, lengthText, secondsText } from "./texts.js";

const video = byId("video");

function play() {
  video.play().catch(() => {});                              // what goes wrong is told by "error"
}

function addFact(name, ...values) {
  const value = make("dd");
  value.append(...values);
  byId("facts").append(make("dt", name), value);
}

function showFacts() {
  byId("pickedname").textContent = baseName(picked.input.file) + ", event " + picked.event;
  byId("facts").textContent = "";
  const within = picked.input.begin === null ? "" : " (" + secondsText(picked.start, true) + " into the file)";
  addFact("begins", eventTime(picked) + within);
  addFact("lasts", lengthText(picked.length) + ", most at " + secondsText(picked.peak, true));
  if (picked.zones) {
    const zones = make("span");
    addZoneMarks(picked.zones, zones);
    addFact("zones", zones);
  }
  const meanwhile = conditionsDuring(picked).map(({ condition, start, end }) =>
    condition + " from " + secondsText(start, true) + " to " + secondsText(end, true));
  if (meanwhile.length) {
    addFact("conditions", meanwhile.join("; "));
  }
  const [x, y, width, height] = picked.boxes[0];
  addFact("largest", width + " \u00d7 " + height + " pixels at " + x + ", " + y + "; " + picked.blocks + " blocks in all");
  if (picked.flash) {
    addFact("flash", "in a picture of it, nearly everything got brighter or darker at once");
  }
  addFact("file", picked.input.file);
}

function load(playing) {
  const open = byId("open");
  byId("unplayable").hidden = true;
  video.hidden = !picked.link;
  open.hidden = !picked.link;
  showStill(!picked.link);
  if (!picked.link) {
    video.removeAttribute("src");
    return;
  }
  const address = picked.link + "#t=" + picked.at;
  open.href = address;
  open.textContent = "Open " + (picked.clip ? "the clip" : "the file") + " at " + secondsText(picked.at, true);
  if (picked.picture) {
    video.poster = pictureAddress(picked.picture);
  } else {
    video.removeAttribute("poster");
  }
  video.src = address;
  if (playing) {
    play();
  }
}

function showStill(on) {
  const still = byId("still");
  still.hidden = !on || !picked.picture;
  if (!still.hidden) {
    still.src = pictureAddress(picked.picture);
  }
}

function allowSteps() {
  byId("previous").disabled = !neighbour(-1);
  byId("next").disabled = !neighbour(1);
}

function showPicked(playing) {
  byId("nothing").hidden = true;
  byId("picked").hidden = false;
  showFacts();
  load(playing);
  allowSteps();
}

// Plays or pauses, where something is loaded.
export function togglePlay() {
  if (video.getAttribute("src")) {
    video.paused ? play() : video.pause();
  }
}

export function startPlayer() {
  when("picked", showPicked);
  when("shown", allowSteps);
  when("teller", () => picked && showFacts());
  byId("previous").addEventListener("click", () => step(-1, true));
  byId("next").addEventListener("click", () => step(1, true));
  video.addEventListener("error", () => {
    if (video.getAttribute("src")) {
      video.hidden = true;
      byId("unplayable").hidden = false;
      showStill(true);
    }
  });
}
