// What can be taken back, and done again?  A row of values; steps that belong together are one.
const longest = 500;                                         // steps

// now: the value; step: what made it.
export function beginning(now) {
  return { past: [], now, future: [], step: null };
}

// step: changes in a row of the same step are taken back at once; null: this one alone.
export function after(history, now, step = null) {
  if (now === history.now) {
    return history;
  }
  const goesOn = step !== null && step === history.step;
  return { past: goesOn ? history.past : [...history.past, history.now].slice(-longest), now, future: [], step };
}

export function back({ past, now, future }) {
  return { past: past.slice(0, -1), now: past.at(-1), future: [now, ...future], step: null };
}

export function forth({ past, now, future: [next, ...future] }) {
  return { past: [...past, now], now: next, future, step: null };
}
