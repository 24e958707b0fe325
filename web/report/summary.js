// How much was scanned, how much moved, and by which settings?
import { byId } from "../elements.js";
import { someHaveClock } from "../model/recordings.js";
import { events, inputs, scan, teller, when } from "../model/state.js";
import { countText, secondsText } from "../texts.js";

const placeOf = {
  viewer: Intl.DateTimeFormat().resolvedOptions().timeZone, recording: "the place that was recorded", utc: "UTC",
};

// leftOut: pictures that the page has no room for.
export function showSummary(leftOut) {
  const seconds = inputs.reduce((sum, input) => sum + input.seconds, 0);
  const broken = inputs.filter((input) => input.status !== "complete");
  const moved = events.reduce((sum, event) => sum + event.length, 0);
  byId("summary").textContent = countText(events.length, "event") + ", " + secondsText(moved, false) + " in all, of " +
    secondsText(seconds, false) + " in " + countText(inputs.length, "input") +
    (broken.length ? "; " + broken.length + " not read in full" : "") +
    (leftOut ? "; " + countText(leftOut, "picture") + " left out to keep the page small" : "");
}

export function showSettings() {
  const { type, schema, version, zones, excluded, ...settings } = scan;
  byId("settings").textContent = "mdscan " + version + ": " +
    Object.entries(settings).map(([name, value]) => name.replace(/_/g, "-") + " " + value).join(", ") +
    (someHaveClock(inputs) ? ". Times of day as in " + placeOf[teller] : "");
}

export function startSettings() {
  when("teller", showSettings);
  showSettings();
}
