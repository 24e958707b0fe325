// Which blocks of the grid does a zone cover?  As mdscan tells: a block belongs to a zone where its centre does. Masks are
// rows of blocks, 1 where one is covered.
import { contains } from "./geometry.js";

// Of the part of the block that the picture covers, as a fraction of the picture.
function centre(block, size, pictureSize) {
  return (block * size + Math.min((block + 1) * size, pictureSize)) * 0.5 / pictureSize;
}

const blockAt = (place, pictureSize, size, blocks) =>
  Math.min(blocks - 1, Math.max(0, Math.trunc(place * pictureSize / size)));

// Where a line of constant y crosses the polygon, from left to right.
function crossings(polygon, y) {
  const found = [];
  for (let i = 0, before = polygon.length - 1; i < polygon.length; before = i++) {
    const a = polygon[before], b = polygon[i];
    if (a[1] > y !== b[1] > y) {
      found.push(a[0] + (b[0] - a[0]) * (y - a[1]) / (b[1] - a[1]));
    }
  }
  return found.sort((a, b) => a - b);
}

// The middles of the polygon's stretches along every row, as [row, place].
function middles(polygon, rows, size, pictureSize) {
  const found = [];
  for (let row = 0; row < rows; ++row) {
    const places = crossings(polygon, centre(row, size, pictureSize));
    for (let i = 0; i + 1 < places.length; i += 2) {
      found.push([row, (places[i] + places[i + 1]) / 2]);
    }
  }
  return found;
}

// A polygon so thin that it holds no block's centre: the blocks along its middle, at least one.
function markThin(polygon, grid, mask) {
  const { width, height, block, columns, rows } = grid;
  const column = (place) => blockAt(place, width, block, columns), row = (place) => blockAt(place, height, block, rows);
  const mark = (across, down) => { mask[down * columns + across] = 1; };
  const level = middles(polygon, rows, block, height);
  const upright = middles(polygon.map(([x, y]) => [y, x]), columns, block, width);
  level.forEach(([down, place]) => mark(column(place), down));
  upright.forEach(([across, place]) => mark(across, row(place)));
  if (!level.length && !upright.length) {
    const mean = (axis) => polygon.reduce((sum, corner) => sum + corner[axis], 0) / polygon.length;
    mark(column(mean(0)), row(mean(1)));
  }
}

// grid: { width, height } of the picture and { block } in pixels, and how many { columns, rows } of blocks there are.
export function coveredBlocks(polygon, grid) {
  const mask = new Uint8Array(grid.columns * grid.rows);
  for (let row = 0; row < grid.rows; ++row) {
    const y = centre(row, grid.block, grid.height);
    for (let column = 0; column < grid.columns; ++column) {
      mask[row * grid.columns + column] = contains(polygon, [centre(column, grid.block, grid.width), y]);
    }
  }
  if (!mask.includes(1)) {
    markThin(polygon, grid, mask);
  }
  return mask;
}

// What of a mask is left where others lie over it.
export function withoutThese(mask, others) {
  return mask.map((covered, i) => covered && !others.some((other) => other[i]) ? 1 : 0);
}

export function countOf(mask) {
  return mask.reduce((sum, covered) => sum + covered, 0);
}

// Blocks of an object lie two columns, or a row and a column, from one another.
const reach = [[-2, 0], [-1, 0], [1, 0], [2, 0], [-1, -1], [0, -1], [1, -1], [-1, 1], [0, 1], [1, 1]];

// Is there a part of the mask, as far as objects reach, of at least so many columns and rows?
export function hasRoom(mask, grid, least) {
  const rest = Uint8Array.from(mask);
  for (let first = rest.indexOf(1); first >= 0; first = rest.indexOf(1, first)) {
    const part = [first], column = (block) => block % grid.columns, row = (block) => Math.floor(block / grid.columns);
    let [left, right, bottom] = [column(first), column(first), row(first)];      // the first one is the highest
    rest[first] = 0;
    for (const from of part) {                               // which grows meanwhile
      [left, right] = [Math.min(left, column(from)), Math.max(right, column(from))];
      bottom = Math.max(bottom, row(from));
      for (const [across, down] of reach) {
        const [x, y] = [column(from) + across, row(from) + down], next = y * grid.columns + x;
        if (x >= 0 && x < grid.columns && y >= 0 && y < grid.rows && rest[next]) {
          rest[next] = 0;
          part.push(next);
        }
      }
    }
    if (right - left + 1 >= least.columns && bottom - row(first) + 1 >= least.rows) {
      return true;
    }
  }
  return false;
}

// Of an object of this size, a fraction of the picture, in blocks. Deliberate: floats, as in the detector.
export function extentOf(size, grid) {
  const blocks = (across) => Math.trunc(Math.fround(across * Math.fround(size)));
  return { columns: blocks(grid.columns), rows: blocks(grid.rows) };
}
