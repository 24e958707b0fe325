// Which conditions were there, for how long, and which of them during an event?
import { conditionNames } from "../colours.js";

// One for each kind that there is: its name, how often, and seconds in all.
export function sumsOf(conditions) {
  return conditionNames.map((name) => {
    const ofKind = conditions.filter((one) => one.condition === name);
    return { name, times: ofKind.length, seconds: ofKind.reduce((sum, one) => sum + one.length, 0) };
  }).filter((sum) => sum.times);
}

export function conditionsDuring(event) {
  return event.input.conditions.filter((one) => one.start <= event.end && one.end >= event.start);
}
