// What does the viewer want to see?  The fields of #filters, and a button for each zone.
import { byId, make, makeToggle } from "./elements.js";
import { markWith } from "./marks.js";
import { cameras, events, follow, scan, shown, want, wanted, when } from "./model/state.js";
import { countText } from "./texts.js";

function numberOf(id, otherwise) {
  const value = parseFloat(byId(id).value);
  return Number.isFinite(value) ? value : otherwise;
}

// Wants what the fields say; the rest stays as it is.
export function applyFilters(changes = {}) {
  want({
    ...wanted, words: byId("text").value.toLowerCase().split(/\s+/).filter(Boolean), camera: byId("camera").value,
    shortest: numberOf("shortest", 0), longest: numberOf("longest", Infinity), order: byId("order").value,
    smallest: numberOf("smallest", 0), largest: numberOf("largest", Infinity), ...changes,
  });
}

function makeZoneButton(name) {
  const button = makeToggle(name);
  markWith(button, name);
  button.addEventListener("click", () => {
    const zones = new Set(wanted.zones), on = !zones.delete(name) && Boolean(zones.add(name));
    button.setAttribute("aria-pressed", on);
    applyFilters({ zones });
  });
  byId("zones").append(button);
}

export function clearFilters() {
  for (const id of ["text", "camera", "shortest", "longest", "smallest", "largest"]) {
    byId(id).value = "";
  }
  for (const button of byId("zones").children) {
    button.setAttribute("aria-pressed", "false");
  }
  follow(false);
  applyFilters({ zones: new Set(), marks: new Set(), place: null });
}

export function startFilters() {
  scan.zones.forEach(makeZoneButton);
  for (const [camera, name] of cameras) {
    const option = make("option", name);
    option.value = camera;
    byId("camera").append(option);
  }
  byId("camerafilter").hidden = cameras.size < 2;
  for (const id of ["text", "camera", "shortest", "longest", "smallest", "largest", "order"]) {
    byId(id).addEventListener("input", () => applyFilters());
  }
  when("shown", () => {
    byId("count").textContent = shown.length + " of " + countText(events.length, "event");
  });
}
