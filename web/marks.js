// How are the zones of an event named?  Each with its colour before it.
import { zoneColour } from "./colours.js";
import { make } from "./elements.js";
import { scan } from "./model/state.js";

export function markWith(element, zone) {
  element.style.setProperty("--zone", zoneColour(scan.zones, zone));
}

export function addZoneMarks(names, place) {
  for (const name of names) {
    const mark = make("i", "", "zone");
    markWith(mark, name);
    place.append(mark, make("small", name + " "));
  }
}
