// Which address opens the page at an event?  #event= and the event's key; picking changes it, and leaves no trail of
// pages to go back through.
import { byId } from "./elements.js";
import { events, pick, picked, when } from "./model/state.js";
import { notify } from "./notice.js";

const begin = "#event=";

function markOf(event) {
  return begin + encodeURIComponent(event.key).replaceAll("%2F", "/").replaceAll("%40", "@");
}

function showPicked() {
  byId("here").href = markOf(picked);
  try {
    history.replaceState(null, "", markOf(picked));
  } catch {
    // some browsers allow so many a minute; the link beside the event is right all the same
  }
}

function follow() {
  if (!location.hash.startsWith(begin)) {
    return;
  }
  let key = location.hash.slice(begin.length);
  try {
    key = decodeURIComponent(key);
  } catch {
    // then it is none of ours
  }
  const event = events.find((one) => one.key === key);
  if (!event) {
    notify("This page has no event " + key + ".");
  } else if (event !== picked) {
    pick(event, false);
  }
}

export function startAddress() {
  when("picked", showPicked);
  addEventListener("hashchange", follow);
  follow();
}
