// What does the viewer want to see?  The fields of #filters, and a button for each zone.
import { byId, make, makeToggle } from "./elements.js";
import { markWith } from "./marks.js";
import { events, inputs, scan, shown, want, wanted, when } from "./model/state.js";
import { countText } from "./texts.js";

function lengthOf(id, otherwise) {
  const value = parseFloat(byId(id).value);
  return Number.isFinite(value) ? value : otherwise;
}

// Wants what the fields say, and one of the zones where there are any.
export function applyFilters(zones = wanted.zones) {
  want({
    words: byId("text").value.toLowerCase().split(/\s+/).filter(Boolean), camera: byId("camera").value,
    shortest: lengthOf("shortest", 0), longest: lengthOf("longest", Infinity), order: byId("order").value, zones,
  });
}

function makeZoneButton(name) {
  const button = makeToggle(name);
  markWith(button, name);
  button.addEventListener("click", () => {
    const zones = new Set(wanted.zones), on = !zones.delete(name) && Boolean(zones.add(name));
    button.setAttribute("aria-pressed", on);
    applyFilters(zones);
  });
  byId("zones").append(button);
}

export function clearFilters() {
  for (const id of ["text", "camera", "shortest", "longest"]) {
    byId(id).value = "";
  }
  for (const button of byId("zones").children) {
    button.setAttribute("aria-pressed", "false");
  }
  applyFilters(new Set());
}

export function startFilters() {
  scan.zones.forEach(makeZoneButton);
  const names = [...new Set(inputs.map((input) => input.camera))];
  for (const name of names) {
    const option = make("option", name);
    option.value = name;
    byId("camera").append(option);
  }
  byId("camerafilter").hidden = names.length < 2;
  for (const id of ["text", "camera", "shortest", "longest", "order"]) {
    byId(id).addEventListener("input", () => applyFilters());
  }
  when("shown", () => {
    byId("count").textContent = shown.length + " of " + countText(events.length, "event");
  });
}
