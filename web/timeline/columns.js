// Which colours does each column of pixels of a row show?  Those of all events in it: whichever comes last must not hide the
// others.

// columns: colour bits, one entry more than there are pixels, which stays 0 and ends the last run.
export function addBar(columns, from, to, bits) {
  for (let x = from; x < Math.min(to, columns.length - 1); ++x) {
    columns[x] |= bits;
  }
}

// From first on, the runs of equal columns that show something.
export function runsOf(columns, first) {
  const runs = [];
  for (let x = first, left = first; x < columns.length; ++x) {
    if (columns[x] !== columns[left]) {
      if (columns[left]) {
        runs.push({ left, right: x, bits: columns[left] });
      }
      left = x;
    }
  }
  return runs;
}
