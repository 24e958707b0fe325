// What do the parts of a page share?  What was scanned, what of it is shown, what is picked. Parts read it here, change it
// with the functions here only, and hear of the changes that they ask for with when().
import { chosen, everything } from "./choice.js";
import { allHaveClock, recordingsOf } from "./recordings.js";
import { laidRows } from "./rows.js";
import { fitted, including, panned, zoomed } from "./span.js";

export let scan = { zones: [] };                             // the first line of the results
export let inputs = [], events = [], gaps = [], conditions = [];
export let wanted = everything();                            // by the filters
export let shown = [];                                       // events that the filters leave, in the order wanted
export let picked = null;                                    // an event, shown or not
export let byClock = false;                                  // the time axis is that of the day, not of each input
export let rows = [];                                        // of the timeline: name, inputs or conditions
export let whole = { from: 0, to: 1 }, view = whole;         // seconds: of all rows, and the part to see
export let theme = "";                                       // "light" or "dark"; empty: as the system has it

const listeners = { shown: [], picked: [], rows: [], view: [], theme: [] };

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
}

export function want(choice) {
  wanted = choice;
  shown = chosen(events, wanted, allHaveClock(inputs));
  tell("shown");
}

// play: begin to play it, too.
export function pick(event, play) {
  picked = event;
  tell("picked", play);
}

// From an event that the filters hide, as from none, the next one is the first shown.
export function step(by) {
  const next = shown[shown.indexOf(picked) + by];
  if (next) {
    pick(next, false);
  }
}

export function setClock(on) {
  byClock = on;
  ({ rows, whole } = laidRows(inputs, byClock));
  view = whole;
  tell("rows");
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

export function setTheme(name) {
  theme = name;
  tell("theme");
}
