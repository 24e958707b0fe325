// Which events lie in the time that is wanted?  A range is from and to in seconds, either of them without an end, on the
// axis of the day (byClock), or on that of every input.

// Whatever reaches into it; nothing whose time of day is not known.
export function isWithin({ input, start, end }, range) {
  const origin = range.byClock ? input.begin : 0;
  return origin !== null && origin + end >= range.from && origin + start <= range.to;
}

// Between two points of an axis, whichever comes first. null: too short to be meant.
export function rangeBetween(one, other, byClock, least) {
  const from = Math.min(one, other), to = Math.max(one, other);
  return to - from < least ? null : { from, to, byClock };
}

// What is in view. null: all is.
export function rangeOfView(view, whole, byClock) {
  return view.from <= whole.from && view.to >= whole.to ? null : { ...view, byClock };
}

// Of two ends of which either may be absent (null), the day's clock. null: both are, or they leave nothing.
export function rangeOfEnds(from, to) {
  const range = { from: from === null ? -Infinity : from, to: to === null ? Infinity : to, byClock: true };
  return (from === null && to === null) || range.from > range.to ? null : range;
}

// The first event that reaches into the time from then on, by the clock, and is shown. undefined: there is none.
export function firstFrom(events, time) {
  const begin = ({ input, start }) => input.begin + start;
  return events.filter((event) => event.input.begin !== null && event.input.begin + event.end >= time)
    .reduce((first, event) => !first || begin(event) < begin(first) ? event : first, undefined);
}
