// Which events are wanted, in which order?

// What is wanted where nobody has asked for less.
export function everything() {
  return { words: [], camera: "", shortest: 0, longest: Infinity, order: "time", zones: new Set() };
}

// byClock: all have a time of day, by which to sort; without it, the order of inputs is kept.
export function chosen(events, wanted, byClock) {
  const shown = events.filter((event) => event.length >= wanted.shortest && event.length <= wanted.longest &&
    (!wanted.camera || event.input.camera === wanted.camera) &&
    wanted.words.every((word) => event.searched.includes(word)) &&
    (!wanted.zones.size || (event.zones || []).some((zone) => wanted.zones.has(zone))));
  if (wanted.order !== "time") {
    shown.sort((a, b) => b[wanted.order] - a[wanted.order]);
  } else if (byClock) {
    shown.sort((a, b) => a.input.begin + a.start - b.input.begin - b.start);
  }
  return shown;
}
