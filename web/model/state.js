// What do the parts of a page share?  What was scanned, what of it is shown, what is picked. Parts read it here, change it
// with the functions here only, and hear of the changes that they ask for with when().
import { tellBy } from "../clock.js";
import { chosen, everything } from "./choice.js";
import { allHaveClock, recordingsOf } from "./recordings.js";
import { laidRows } from "./rows.js";
import { fitted, including, panned, zoomed } from "./span.js";
import { offsetsOf } from "./timeoffsets.js";
import { rangeOfView } from "./timerange.js";

export let scan = { zones: [] };                             // the first line of the results
export let inputs = [], events = [], gaps = [], conditions = [];
export let cameras = new Map();                              // short names by their names
export let wanted = everything();                            // by the filters
export let shown = [];                                       // events that the filters leave, in the order wanted
export let picked = null;                                    // an event, shown or not
let hiddenAt = -1;                                           // between which two the picked one stood until its mark hid it
export let byClock = false;                                  // the time axis is that of the day, not of each input
export let rows = [];                                        // of the timeline: name, inputs or conditions
export let whole = { from: 0, to: 1 }, view = whole;         // seconds: of all rows, and the part to see
export let isFollowing = false;                              // only what is in view is wanted
export let teller = "viewer";                                // by whose clock times are told
export let theme = "";                                       // "light" or "dark"; empty: as the system has it

const listeners = { shown: [], picked: [], judged: [], rows: [], view: [], teller: [], theme: [] };

// Calls act after each change of what, in the order in which they asked.
export function when(what, act) {
  listeners[what].push(act);
}

function tell(what, ...values) {
  for (const act of listeners[what]) {
    act(...values);
  }
}

export function open(itsScan, itsInputs) {
  scan = itsScan;
  inputs = itsInputs;
  ({ events, gaps, conditions } = recordingsOf(scan.zones, inputs));
  cameras = new Map(inputs.map((input) => [input.camera, input.cameraName]));
}

function choose() {
  shown = chosen(events, wanted, allHaveClock(inputs));
}

export function want(choice) {
  wanted = choice;
  hiddenAt = -1;
  choose();
  tell("shown", false);
}

// Marks events: [event, mark] each, "" takes a mark away. byViewer: here and now, not in an earlier visit. "shown" is told
// with true: what is wanted has not changed, so the list should not move.
export function judge(verdicts, byViewer) {
  const changes = verdicts.filter(([event, mark]) => event.mark !== mark), at = shown.indexOf(picked);
  for (const [event, mark] of changes) {
    event.mark = mark;
  }
  if (changes.length && wanted.marks.size) {
    choose();
    hiddenAt = at >= 0 ? at - 0.5 : hiddenAt;
    tell("shown", true);
  }
  if (changes.length) {
    tell("judged", changes, byViewer);
  }
}

// Wants what lies in this range only, whatever is in view later; null: at any time.
export function wantRange(range) {
  isFollowing = false;
  want({ ...wanted, range });
}

// From now on, what is in view is the range; or there is none any more.
export function follow(on) {
  isFollowing = on;
  want({ ...wanted, range: on ? rangeOfView(view, whole, byClock) : null });
}

// After a change of the view: whoever hears of "view" calls this when no further change is to be expected at once.
export function followView() {
  if (isFollowing) {
    follow(true);
  }
}

// play: begin to play it, too.
export function pick(event, play) {
  picked = event;
  hiddenAt = -1;
  tell("picked", play);
}

// The event so many places on, if there is one. From an event that the filters hide, as from none, the next one is the first
// shown; from one that its mark has just hidden, the one that followed it.
export function neighbour(by) {
  const at = shown.indexOf(picked), from = at >= 0 ? at : hiddenAt;
  return shown[by > 0 ? Math.floor(from) + by : Math.ceil(from) + by];
}

export function step(by, play = false) {
  const next = neighbour(by);
  if (next) {
    pick(next, play);
  }
}

export function setClock(on) {
  byClock = on;
  ({ rows, whole } = laidRows(inputs, byClock));
  view = whole;
  tell("rows");
  if (wanted.range && (isFollowing || !wanted.range.byClock)) {
    want({ ...wanted, range: null });                        // of the other axis
  }
}

export function setView(span) {
  view = fitted(span, whole);
  tell("view");
}

export function zoom(factor, around) {
  setView(zoomed(view, factor, around));
}

export function pan(part) {
  setView(panned(view, part));
}

export function showAll() {
  setView(whole);
}

// Moves the view where the span is not in it.
export function reveal(span) {
  if (including(view, span) !== view) {
    setView(including(view, span));
  }
}

// name: one of the clock's names.
export function setTeller(name) {
  teller = name;
  tellBy(name, offsetsOf(inputs) || undefined);
  tell("teller");
}

export function setTheme(name) {
  theme = name;
  tell("theme");
}
