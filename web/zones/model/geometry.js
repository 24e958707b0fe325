// Is a polygon sound, and what of it lies near a place?  Corners are [x, y], fractions of the picture's width and height.
// Soundness is judged as mdscan does: by the same formulas in the same order.

// Twice the area of the triangle; the sign tells on which side of a-b the third point lies.
const side = (a, b, c) => (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
const within = (value, a, b) => value >= Math.min(a, b) && value <= Math.max(a, b);
const onLine = (a, b, c) => side(a, b, c) === 0 && within(c[0], a[0], b[0]) && within(c[1], a[1], b[1]);

// Crossing or touching.
function meet(a, b, c, d) {
  const apart = side(a, b, c) > 0 === side(a, b, d) > 0 || side(c, d, a) > 0 === side(c, d, b) > 0;
  const straight = side(a, b, c) === 0 || side(a, b, d) === 0 || side(c, d, a) === 0 || side(c, d, b) === 0;
  return !apart && !straight || onLine(a, b, c) || onLine(a, b, d) || onLine(c, d, a) || onLine(c, d, b);
}

// Does the line from b to c run back over that from a to b?
function runsBack(a, b, c) {
  return (onLine(a, b, c) || onLine(b, c, a)) &&
         (b[0] - a[0]) * (c[0] - b[0]) + (b[1] - a[1]) * (c[1] - b[1]) < 0;
}

// Empty where the polygon encloses something and does not cross itself, else what is wrong.
export function polygonTrouble(polygon) {
  const corners = polygon.length, corner = (i) => polygon[i % corners];
  const named = (i) => "[" + i + "] to [" + (i + 1) % corners + "]";
  let area = 0;
  for (let i = 0; i < corners; ++i) {
    const [a, b] = [corner(i), corner(i + 1)];
    if (a[0] === b[0] && a[1] === b[1]) {
      return "corners [" + i + "] and [" + (i + 1) % corners + "] are the same";
    }
    area += a[0] * b[1] - b[0] * a[1];
  }
  const nothing = Math.abs(area) < 1e-12 ? "encloses nothing" : "";
  for (let i = 0; i < corners; ++i) {
    if (runsBack(corner(i), corner(i + 1), corner(i + 2))) {
      return nothing || "the line from " + named(i) + " runs back over itself";
    }
    for (let k = i + 2; k < corners; ++k) {
      if ((k + 1) % corners !== i && meet(corner(i), corner(i + 1), corner(k), corner(k + 1))) {
        return "the line from " + named(i) + " crosses the one from " + named(k);
      }
    }
  }
  return nothing;
}

// Left and upper edges belong to a polygon, right and lower ones do not.
export function contains(polygon, [x, y]) {
  let inside = false;
  for (let i = 0, before = polygon.length - 1; i < polygon.length; before = i++) {
    const a = polygon[before], b = polygon[i];
    if (a[1] > y !== b[1] > y && x < a[0] + (b[0] - a[0]) * (y - a[1]) / (b[1] - a[1])) {
      inside = !inside;
    }
  }
  return inside;
}

// Finer than a pixel of the largest pictures, and still read by people.
export function rounded(value) {
  return Math.round(Math.min(1, Math.max(0, value)) * 1e5) / 1e5;
}

// As far as all of it stays in the picture.
export function shifted(polygon, across, down) {
  const by = (axis, wish) => {
    const places = polygon.map((corner) => corner[axis]);
    return Math.min(1 - Math.max(...places), Math.max(-Math.min(...places), wish));
  };
  const [dx, dy] = [by(0, across), by(1, down)];
  return polygon.map(([x, y]) => [rounded(x + dx), rounded(y + dy)]);
}

export function middleOf(a, b) {
  return [rounded((a[0] + b[0]) / 2), rounded((a[1] + b[1]) / 2)];
}

// Which of the places is nearest, in pixels of a picture shown at this size, and no further away than reach; -1: none.
export function nearest(places, [x, y], { width, height }, reach) {
  const away = places.map((place) => Math.hypot((place[0] - x) * width, (place[1] - y) * height));
  const least = Math.min(...away);
  return least <= reach ? away.indexOf(least) : -1;
}
