// Where was the largest object of an event, when, and did it touch a place?  In pixels of the picture; a box is
// [x, y, width, height].

// The points that mdscan kept, with times in seconds of the recording. Between them an object went straight.
export function trackOf(event) {
  const points = [], sums = [0, 0, 0, 0, 0];
  (event.track ? event.track.split(" ") : []).forEach((number, i) => {
    sums[i % 5] += Number(number);
    if (i % 5 === 4) {
      points.push({ time: event.start + sums[0] / 100, box: sums.slice(1) });
    }
  });
  return points;
}

// null: before the first point, or behind the last one.
export function boxAt(points, time) {
  const next = points.findIndex((point) => point.time >= time);
  if (next < 0 || (next === 0 && points[0].time > time)) {
    return null;
  }
  const to = points[next], from = points[Math.max(0, next - 1)];
  const part = to.time > from.time ? (time - from.time) / (to.time - from.time) : 1;
  return to.box.map((side, i) => from.box[i] + part * (side - from.box[i]));
}

// Does a box touch the area somewhere on its straight way from one place to another?  Where each of its edges does is a part
// of the way; all four must have one in common.
function meetsBetween(from, to, [x, y, width, height]) {
  let first = 0, last = 1;
  const keep = (atFirst, atLast) => {                        // what must be above 0, at both ends of the way
    if (atFirst <= 0 && atLast <= 0) {
      first = Infinity;
    } else if (atFirst <= 0) {
      first = Math.max(first, atFirst / (atFirst - atLast));
    } else if (atLast <= 0) {
      last = Math.min(last, atFirst / (atFirst - atLast));
    }
  };
  keep(x + width - from[0], x + width - to[0]);
  keep(from[0] + from[2] - x, to[0] + to[2] - x);
  keep(y + height - from[1], y + height - to[1]);
  keep(from[1] + from[3] - y, to[1] + to[3] - y);
  return first < last;
}

// The largest object on its way, or any one at the peak.
export function touches(event, area) {
  const points = trackOf(event);
  return event.boxes.some((box) => meetsBetween(box, box, area)) ||
    points.some(({ box }, i) => meetsBetween(points[Math.max(0, i - 1)].box, box, area));
}

// How large was the largest object?  Its longer side, in per cent of the picture's.
export function sizeOf(event) {
  const { width, height } = event.input;
  return width && height
    ? event.boxes.reduce((most, box) => Math.max(most, 100 * box[2] / width, 100 * box[3] / height), 0) : 0;
}
