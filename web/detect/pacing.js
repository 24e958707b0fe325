// Which pictures of a video does the detector see, and at which times?  So many a second as are asked for; the times rise,
// also where the video begins again or is set back.
export function makePacer() {
  const early = 0.004;                                       // seconds; what clocks of videos are rounded by
  let last = null, due = 0, seen = 0;

  // at: seconds, as the video counts. rate: pictures a second. The time for the detector in milliseconds; null: this picture
  // is left out.
  return function take(at, rate) {
    const interval = 1 / rate, goesOn = last !== null && at >= last;
    if (goesOn && at < due - early && due - at < 2 * interval) {
      return null;
    }
    seen += last === null ? 0 : goesOn ? at - last : interval;
    due = (goesOn && at < due + interval ? due : at) + interval;   // late pictures do not make all others late
    last = at;
    return Math.round(seen * 1000);
  };
}
