// Which events are wanted, in which order?
import { isWithin } from "./timerange.js";
import { sizeOf, touches } from "./track.js";

// What is wanted where nobody has asked for less. marks: any of these, "" for none; place: of one camera, in pixels of its
// picture.
export function everything() {
  return { words: [], camera: "", shortest: 0, longest: Infinity, order: "time", zones: new Set(),
           smallest: 0, largest: Infinity, marks: new Set(), place: null, range: null };
}

function hasSize(event, { smallest, largest }) {
  const size = smallest > 0 || largest < Infinity ? sizeOf(event) : 0;
  return size >= smallest && size <= largest;
}

// byClock: all have a time of day, by which to sort; without it, the order of inputs is kept.
export function chosen(events, wanted, byClock) {
  const shown = events.filter((event) => event.length >= wanted.shortest && event.length <= wanted.longest &&
    (!wanted.range || isWithin(event, wanted.range)) && (!wanted.camera || event.input.camera === wanted.camera) &&
    wanted.words.every((word) => event.searched.includes(word)) &&
    (!wanted.zones.size || (event.zones || []).some((zone) => wanted.zones.has(zone))) &&
    (!wanted.marks.size || wanted.marks.has(event.mark)) && hasSize(event, wanted) &&
    (!wanted.place || (event.input.camera === wanted.place.camera && touches(event, wanted.place.area))));
  if (wanted.order !== "time") {
    shown.sort((a, b) => b[wanted.order] - a[wanted.order]);
  } else if (byClock) {
    shown.sort((a, b) => a.input.begin + a.start - b.input.begin - b.start);
  }
  return shown;
}
