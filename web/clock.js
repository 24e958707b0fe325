// By whose clock are times told?  The viewer's, that of the place that was recorded, or UTC. Times are seconds since 1970;
// what a clock shows is such a number, too: read as UTC, it has the year, day and hour that the clock has.
export const clocks = ["viewer", "recording", "utc"];

function offsetOfViewer(time) {
  return -60 * new Date(time * 1000).getTimezoneOffset();
}

const offsets = { viewer: offsetOfViewer, recording: offsetOfViewer, utc: () => 0 };
let offsetOf = offsetOfViewer;

// ofPlace: by how many seconds the place's clock is ahead of UTC at a time; absent: as the viewer's.
export function tellBy(clock, ofPlace = offsetOfViewer) {
  offsets.recording = ofPlace;
  offsetOf = offsets[clock];
}

export function shownAt(time) {
  return time + offsetOf(time);
}

// When the clock shows that. Of the two times in the hour that it shows twice, either; of one that it leaves out, one beside.
export function timeOf(shown) {
  const near = shown - offsetOf(shown);
  return shown - offsetOf(near);
}
