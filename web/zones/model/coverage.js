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

// How many columns and rows the blocks stretch over: nothing that stays within them is larger.
export function extentOf(mask, grid) {
  let [left, top, right, bottom] = [grid.columns, grid.rows, -1, -1];
  mask.forEach((covered, i) => {
    if (covered) {
      const column = i % grid.columns, row = Math.floor(i / grid.columns);
      [left, top] = [Math.min(left, column), Math.min(top, row)];
      [right, bottom] = [Math.max(right, column), Math.max(bottom, row)];
    }
  });
  return { columns: Math.max(0, right + 1 - left), rows: Math.max(0, bottom + 1 - top) };
}

// Of the smallest object that counts; size: a fraction of the picture. Deliberate: floats, as in the detector.
export function leastExtent(size, grid) {
  const least = (blocks) => Math.trunc(Math.fround(blocks * Math.fround(size)));
  return { columns: least(grid.columns), rows: least(grid.rows) };
}
