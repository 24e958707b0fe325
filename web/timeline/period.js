// Which time does the viewer want to see, and by whose clock?  The fields of #period: a range by calendar, by what is in view
// or by a drag on the axis, and a time to find.
import { clocks, shownAt, timeOf } from "../clock.js";
import { byId, make } from "../elements.js";
import { someHaveClock } from "../model/recordings.js";
import { byClock, inputs, pick, setClock, setTeller, setView, shown, teller, view, when, whole } from "../model/state.js";
import { follow, followView, isFollowing, wanted, wantRange } from "../model/state.js";
import { firstFrom, rangeOfEnds, rangeOfView } from "../model/timerange.js";
import { spanTyped } from "../model/timetyped.js";
import { dateText, eventTime } from "../texts.js";

const kept = "mdscan times";                                 // in the browser: a clock's name
let due = false;                                             // the next frame looks what is in view

function ask(value) {
  const shownTime = value ? Date.parse(value + "Z") / 1000 : NaN;
  return shownTime >= 0 ? timeOf(shownTime) : null;          // while a year is typed, it is that of antiquity
}

// The end that was given last counts, where the other is beyond it.
function takeEnds({ target }) {
  const ends = { from: ask(byId("from").value), until: ask(byId("until").value) };
  if (ends.from !== null && ends.until !== null && ends.from > ends.until) {
    ends[target.id === "from" ? "until" : "from"] = null;
  }
  const range = rangeOfEnds(ends.from, ends.until);
  wantRange(range);
  if (range && byClock) {
    setView({ from: Math.max(range.from, whole.from), to: Math.min(range.to, whole.to) });
  }
}

// As a field has it, in whole seconds that hold the range.
function fieldText(time, round) {
  return Number.isFinite(time) ? new Date(round(shownAt(time)) * 1000).toISOString().slice(0, 19) : "";
}

function showRange() {
  const { range } = wanted, ofDay = range && range.byClock;
  for (const [id, text] of [["from", ofDay ? fieldText(range.from, Math.floor) : ""],
    ["until", ofDay ? fieldText(range.to, Math.ceil) : ""]]) {
    if (document.activeElement !== byId(id)) {               // whoever types there knows better
      byId(id).value = text;
    }
  }
  byId("anytime").hidden = !range;
  byId("follow").setAttribute("aria-pressed", isFollowing);
}

export function wantView() {
  wantRange(rangeOfView(view, whole, byClock));
}

function say(text) {
  byId("found").textContent = text;
}

function find() {
  const text = byId("find").value.trim(), clockOfView = byClock ? view.from : whole.from;
  const typed = text ? spanTyped(text, shownAt(clockOfView)) : null;
  if (!typed) {
    say(text ? "no time like 2026-03-01 07:59" : "");
    return;
  }
  if (!byClock) {
    setClock(true);
  }
  const span = { from: timeOf(typed.from), to: timeOf(typed.to) }, length = span.to - span.from;
  const around = Math.max(0, Math.min(3600, view.to - view.from) - length) / 2;
  setView({ from: span.from - around, to: span.to + around });
  followView();                                              // to find among what is listed then
  const event = firstFrom(shown, span.from), isThen = event && event.input.begin + event.start < span.to;
  if (isThen) {
    pick(event, false);
    setView({ from: span.from - around, to: span.to + around });                    // picked, it may have moved
  }
  say(span.to <= whole.from || span.from >= whole.to ? "nothing recorded then"
    : isThen ? "" : event ? "no event then, next " + eventTime(event)
      : isFollowing ? "no event then" : "no event from then on");
}

function keep(name) {
  try {
    localStorage.setItem(kept, name);
  } catch {
    // then it is asked anew
  }
}

function keptClock() {
  try {
    const name = localStorage.getItem(kept);
    return clocks.includes(name) ? name : clocks[0];
  } catch {
    return clocks[0];
  }
}

// To choose from while typing: the days on which something begins.
function listDays() {
  const begins = inputs.filter((input) => input.begin !== null).map((input) => input.begin).sort((a, b) => a - b);
  byId("days").textContent = "";
  for (const day of new Set(begins.map(dateText))) {
    const option = make("option");
    option.value = day;
    byId("days").append(option);
  }
}

function startFields() {
  for (const id of ["from", "until"]) {
    byId(id).addEventListener("change", takeEnds);
    byId(id).addEventListener("blur", showRange);
  }
  byId("inview").addEventListener("click", wantView);
  byId("follow").addEventListener("click", () => follow(!isFollowing));
  byId("anytime").addEventListener("click", () => follow(false));
  byId("find").addEventListener("keydown", (press) => press.key === "Enter" && find());
  byId("teller").addEventListener("change", () => {
    setTeller(byId("teller").value);
    keep(teller);
  });
}

export function startPeriod() {
  byId("dated").hidden = byId("clock").hidden = !someHaveClock(inputs);
  byId("teller").options[0].text += " (" + Intl.DateTimeFormat().resolvedOptions().timeZone + ")";
  startFields();
  when("shown", showRange);
  when("teller", () => { showRange(); listDays(); });
  when("view", () => {
    if (!due && isFollowing) {
      due = true;
      requestAnimationFrame(() => { due = false; followView(); });
    }
  });
  setTeller(keptClock());
  byId("teller").value = teller;
}
