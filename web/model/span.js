// Which part of all time is in view after a zoom or a move?  Spans are from and to, in seconds.
export const shortestView = 1;

// The span nearest to the one asked for that is not too short and lies within the whole.
export function fitted({ from, to }, whole) {
  const length = Math.min(Math.max(to - from, shortestView), whole.to - whole.from);
  const begin = Math.min(Math.max(to - from < length ? (from + to - length) / 2 : from, whole.from), whole.to - length);
  return { from: begin, to: begin + length };
}

export function zoomed({ from, to }, factor, around = (from + to) / 2) {
  return { from: around - (around - from) * factor, to: around + (to - around) * factor };
}

export function panned({ from, to }, part) {
  const by = (to - from) * part;
  return { from: from + by, to: to + by };
}

// The span of the same length around the middle of another, unless that lies in it.
export function including(span, { from, to }) {
  const length = span.to - span.from;
  return from < span.from || to > span.to ? { from: (from + to - length) / 2, to: (from + to + length) / 2 } : span;
}
