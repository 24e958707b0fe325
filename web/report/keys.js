// What do keys do?  What #keys says.
import { byId } from "../elements.js";
import { toggleBoxes } from "../boxes.js";
import { clearFilters } from "../filters.js";
import { toggleMark } from "../judging.js";
import { pan, picked, showAll, step, zoom } from "../model/state.js";
import { togglePlayAll } from "../playback.js";
import { togglePlay } from "../player.js";
import { wantView } from "../timeline/period.js";

function toggleHelp() {
  byId("keys").hidden = !byId("keys").hidden;
  byId("help").setAttribute("aria-expanded", !byId("keys").hidden);
}

const acts = {
  j: () => step(1, true), k: () => step(-1, true), ArrowDown: () => step(1, true), ArrowUp: () => step(-1, true),
  a: togglePlayAll, b: toggleBoxes, 1: () => toggleMark("seen"), 2: () => toggleMark("keep"), 3: () => toggleMark("false"),
  ArrowLeft: () => pan(-0.2), ArrowRight: () => pan(0.2), "+": () => zoom(0.5), "=": () => zoom(0.5), "-": () => zoom(2),
  0: showAll, "/": () => byId("text").focus(), g: () => byId("find").focus(), r: wantView, "?": toggleHelp, Escape: clearFilters,
  Enter: () => { if (!picked) { step(1, true); } }, " ": togglePlay,
};

function act(press) {
  const field = press.target.closest("input, select"), pressable = press.target.closest("button, a, video");
  if (field && press.key === "Escape") {
    field.blur();
    return;
  }
  const wanted = acts[press.key];
  if (!wanted || field || press.ctrlKey || press.altKey || press.metaKey || (pressable && /^(Enter| )$/.test(press.key)) ||
      (press.target === byId("video") && press.key.startsWith("Arrow"))) {
    return;
  }
  press.preventDefault();
  wanted();
}

export function startKeys() {
  document.addEventListener("keydown", act);
  byId("help").addEventListener("click", toggleHelp);
}
