// What happened in the inputs, and when?  Completes inputs and events by what the page asks of them again and again.
import { colourBits, conditionBit } from "../colours.js";
import { shortNames } from "./names.js";
import { keyOf } from "./verdicts.js";

const here = "this folder";                                  // where a scan of files without one was begun
const wallClock = (text) => Date.parse(text) / 1000;         // seconds since 1970

// inputs: as mdscan wrote them; each loses its lines. Gives every input its conditions, its camera's short name, and the time
// it begins, null where nobody knows.
export function recordingsOf(zones, inputs) {
  const events = [], gaps = [], conditions = [], ofType = { event: events, gap: gaps, condition: conditions };
  const names = shortNames(inputs.map((input) => input.camera || ""));
  for (const input of inputs) {
    input.cameraName = input.camera === "." ? here : names.get(input.camera || "");
    input.begin = input.start_time ? wallClock(input.start_time) : null;
    for (const line of input.lines) {
      line.input = input;
      line.length = line.end - line.start;
      ofType[line.type].push(line);
      if (input.begin === null && line.start_time) {
        input.begin = wallClock(line.start_time) - line.start;
      }
    }
    input.conditions = input.lines.filter((line) => line.type === "condition");
    input.lines = null;
  }
  for (const event of events) {
    event.colours = colourBits(zones, event.zones);
    event.key = keyOf(event);
    event.mark = "";
    event.searched = [event.input.file, ...(event.zones || []), ...(event.flash ? ["flash"] : [])].join("\n").toLowerCase();
  }
  for (const condition of conditions) {
    condition.colours = conditionBit(condition.condition);
  }
  return { events, gaps, conditions };
}

export function someHaveClock(inputs) {
  return inputs.some((input) => input.begin !== null);
}

export function allHaveClock(inputs) {
  return someHaveClock(inputs) && inputs.every((input) => input.begin !== null || input.seconds === 0);
}
