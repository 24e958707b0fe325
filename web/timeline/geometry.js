// Where on the canvas is a time, where a row?  In CSS pixels, of the canvas as it stands now.
export const rowHeight = 26, barHeight = 14, conditionHeight = 10, axisHeight = 26;

// top: how far the rows are scrolled; view: the span to see.
export function geometryOf(width, height, top, view) {
  const gutter = Math.min(220, Math.max(84, width * 0.16)), across = width - gutter - 8;      // names stand in the gutter
  const xOf = (time) => gutter + (time - view.from) / (view.to - view.from) * across;
  return {
    width, height, gutter, across, xOf,
    timeOf: (x) => view.from + (x - gutter) / across * (view.to - view.from),
    yOf: (row) => axisHeight + row * rowHeight - top,
    rowAt: (y) => Math.floor((y - axisHeight + top) / rowHeight),
    firstRow: Math.floor(top / rowHeight), lastRow: Math.ceil((top + height) / rowHeight),    // to see, if there are so many

    // From where to where an event or a condition is drawn: at least two pixels, which can be seen and met.
    edges: (from, to) => {
      const left = Math.round(xOf(from));
      return { left, right: Math.max(left + 2, Math.round(xOf(to))) };
    },
  };
}
