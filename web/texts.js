// How do times, lengths, counts and names of files read?
import { shownAt } from "./clock.js";

const two = (number) => String(number).padStart(2, "0");

// 75.25 as 1:15.2 where tenths are wanted, longer ones as 2:01:15
export function secondsText(seconds, precise) {
  const whole = Math.floor(seconds), hours = Math.floor(whole / 3600), minutes = Math.floor(whole / 60) % 60;
  const rest = precise && hours === 0 ? (Math.floor(seconds * 10) / 10 % 60).toFixed(1).padStart(4, "0") : two(whole % 60);
  return hours > 0 ? hours + ":" + two(minutes) + ":" + rest : minutes + ":" + rest;
}

export function lengthText(seconds) {
  return seconds < 60 ? seconds.toFixed(1) + " s" : secondsText(seconds, false) + " min";
}

// Seconds since 1970, as the clock shows them by which times are told.
export function clockText(seconds, precise) {
  const time = new Date(shownAt(seconds) * 1000);
  return two(time.getUTCHours()) + ":" + two(time.getUTCMinutes()) + ":" + two(time.getUTCSeconds()) +
         (precise ? "." + Math.floor(seconds * 10) % 10 : "");
}

export function dateText(seconds) {
  const time = new Date(shownAt(seconds) * 1000);
  return time.getUTCFullYear() + "-" + two(time.getUTCMonth() + 1) + "-" + two(time.getUTCDate());
}

export function eventTime(event) {
  const time = event.input.begin + event.start;
  return event.input.begin === null ? secondsText(event.start, true) : dateText(time) + " " + clockText(time);
}

// Of an event or a condition, where one stands for itself.
export function spanText(span) {
  return [baseName(span.input.file), ...(span.condition ? [span.condition] : []), eventTime(span), lengthText(span.length),
          ...(span.zones || [])].join(", ");
}

// A share of the time in percent: coarser where it is more.
export function shareText(share) {
  const percent = 100 * share;
  return percent < 0.01 ? "<0.01 %" : percent.toFixed(percent < 0.1 ? 2 : percent < 9.95 ? 1 : 0) + " %";
}

export function countText(number, what) {
  return number + " " + what + (number === 1 ? "" : "s");
}

export function baseName(path) {
  return path.slice(path.replace(/\/+$/, "").lastIndexOf("/") + 1) || path;
}
