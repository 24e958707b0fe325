// Which times are written above the rows, and how?
import { shownAt } from "../clock.js";
import { clockText, dateText, secondsText } from "../texts.js";

const steps = [0.1, 0.2, 0.5, 1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400];
const day = 86400, leastDistance = 84;                       // pixels between two ticks

// Seconds from one tick to the next. width: of the view, in pixels.
export function tickStep(view, width) {
  const least = (view.to - view.from) / width * leastDistance;
  return steps.find((step) => step >= least) || Math.ceil(least / day) * day;
}

// By the clock, ticks stand at its full hours, and the first after midnight tells the day, too.
export function ticksOf(view, width, byClock) {
  const step = tickStep(view, width), shift = byClock ? view.from - shownAt(view.from) : 0;
  const first = Math.ceil((view.from - shift) / step) * step + shift, ticks = [];
  let date = "";
  for (let i = 0; first + i * step <= view.to; ++i) {
    const time = Math.round((first + i * step) * 10) / 10;   // 0.8, not a little less: labels round down
    let label = secondsText(time, step < 1);
    if (byClock) {
      label = step < 60 ? clockText(time, step < 1) : clockText(time).slice(0, 5);
      if (dateText(time) !== date) {
        date = dateText(time);
        label = step >= day ? date.slice(5) : i === 0 ? label : date.slice(5) + " " + label;
      }
    }
    ticks.push({ time, label });
  }
  return ticks;
}
