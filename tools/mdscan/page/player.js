// What was it?  Plays the picked event from its first second, in its clip or in the recording.
const video = byId("video");
let picked = null;

function fact(name, ...values) {
  const value = make("dd");
  value.append(...values);
  byId("facts").append(make("dt", name), value);
}

function pick(event, play) {
  picked = event;
  byId("nothing").hidden = true;
  byId("picked").hidden = false;
  byId("pickedname").textContent = baseName(event.input.file) + ", event " + event.event;
  byId("facts").textContent = "";
  const within = event.input.begin === null ? "" : " (" + secondsText(event.start, true) + " into the file)";
  fact("begins", eventTime(event) + within);
  fact("lasts", lengthText(event.length) + ", most at " + secondsText(event.peak, true));
  if (event.zones) {
    const zones = make("span");
    zoneMarks(event.zones, zones);
    fact("zones", zones);
  }
  const box = event.boxes[0];
  fact("largest", box.w + " \u00d7 " + box.h + " pixels at " + box.x + ", " + box.y + "; " +
       event.blocks + " blocks in all");
  fact("file", event.input.file);
  load(event, play);
  allowSteps();
  showInList(event);
  bringIntoView(event);
  redraw();
}

function load(event, play) {
  const open = byId("open");
  byId("unplayable").hidden = true;
  video.hidden = !event.link;
  open.hidden = !event.link;
  showStill(!event.link);
  if (!event.link) {
    video.removeAttribute("src");
    return;
  }
  const address = event.link + "#t=" + event.at;
  open.href = address;
  open.textContent = "Open " + (event.clip ? "the clip" : "the file") + " at " + secondsText(event.at, true);
  if (event.picture) {
    video.poster = "data:image/jpeg;base64," + event.picture;
  } else {
    video.removeAttribute("poster");
  }
  video.src = address;
  if (play) {
    video.play().catch(() => {});                            // what goes wrong is told by "error"
  }
}

function showStill(on) {
  const still = byId("still");
  still.hidden = !on || !picked.picture;
  if (!still.hidden) {
    still.src = "data:image/jpeg;base64," + picked.picture;
  }
}

video.addEventListener("error", () => {
  if (video.getAttribute("src")) {
    video.hidden = true;
    byId("unplayable").hidden = false;
    showStill(true);
  }
});

// From an event that the filters hide, as from none, the next one is the first shown.
function step(by) {
  const next = shown[shown.indexOf(picked) + by];
  if (next) {
    pick(next, false);
  }
}

function allowSteps() {
  const place = shown.indexOf(picked);
  byId("previous").disabled = place <= 0;
  byId("next").disabled = place + 1 >= shown.length;
}

byId("previous").addEventListener("click", () => step(-1));
byId("next").addEventListener("click", () => step(1));
