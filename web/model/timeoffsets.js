// How far ahead of UTC was the clock of the place, when?

// A function of the time: what the last input that began by then says, before all of them the first. null: none says it.
export function offsetsOf(inputs) {
  const known = inputs.filter((input) => input.begin !== null && Number.isFinite(input.utc_offset))
    .map((input) => ({ from: input.begin, offset: input.utc_offset })).sort((a, b) => a.from - b.from)
    .filter((one, place, all) => !place || one.offset !== all[place - 1].offset);
  return known.length ? (time) => (known.findLast((one) => one.from <= time) || known[0]).offset : null;
}
