// Where do marks stay until the next visit?  In the browser, under the page's own address: two pages share none.
import { judge, events, when } from "./model/state.js";
import { markText, marksOf } from "./model/verdicts.js";
import { notify } from "./notice.js";

const name = "mdscan marks " + location.pathname;

// Those of events that this page does not show now, too: it may again. null: the browser keeps nothing.
function kept() {
  try {
    return marksOf(localStorage.getItem(name) ?? markText(new Map())).marks ?? new Map();
  } catch {
    return null;
  }
}

// Another window may have added some since this one looked.
function keep(changes) {
  const marks = kept();
  try {
    for (const [event, mark] of changes) {
      mark ? marks.set(event.key, mark) : marks.delete(event.key);
    }
    localStorage.setItem(name, markText(marks));
  } catch {
    notify("This browser does not keep marks for this page: save them to a file.");
  }
}

function take() {
  const marks = kept();
  if (marks) {
    judge(events.map((event) => [event, marks.get(event.key) ?? ""]), false);
  } else {
    notify("This browser keeps no marks for this page: save them to a file.");
  }
}

export function startKeeping() {
  take();
  when("judged", (changes, byViewer) => byViewer && keep(changes));
  addEventListener("storage", (change) => change.key === name && take());      // another window has marked
}
