// What happened in the inputs, and when?  Completes inputs and events by what the page asks of them again and again.
import { colourBits } from "../colours.js";

const wallClock = (text) => Date.parse(text) / 1000;         // seconds since 1970

// inputs: as mdscan wrote them; each loses its lines. Gives every input the time it begins, null where nobody knows.
export function recordingsOf(zones, inputs) {
  const events = [], gaps = [];
  for (const input of inputs) {
    input.begin = input.start_time ? wallClock(input.start_time) : null;
    for (const line of input.lines) {
      line.input = input;
      (line.type === "event" ? events : gaps).push(line);
      if (input.begin === null && line.start_time) {
        input.begin = wallClock(line.start_time) - line.start;
      }
    }
    input.lines = null;
  }
  for (const event of events) {
    event.colours = colourBits(zones, event.zones);
    event.length = event.end - event.start;
    event.searched = [event.input.file, ...(event.zones || [])].join("\n").toLowerCase();
  }
  return { events, gaps };
}

export function someHaveClock(inputs) {
  return inputs.some((input) => input.begin !== null);
}

export function allHaveClock(inputs) {
  return someHaveClock(inputs) && inputs.every((input) => input.begin !== null || input.seconds === 0);
}
