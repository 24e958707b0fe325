// What of the list goes elsewhere?  A table, its data, a script that cuts the events out, and paper.
import { byId } from "./elements.js";
import { offer } from "./files.js";
import { cutScript } from "./model/cuts.js";
import { eventJson, eventTable } from "./model/exports.js";
import { shown } from "./model/state.js";
import { notify } from "./notice.js";
import { countText } from "./texts.js";

// As the page's address has it, with "%" and two digits for odd bytes; empty where that is no folder of this machine.
function ownFolder() {
  return location.protocol === "file:" ? location.pathname.slice(0, location.pathname.lastIndexOf("/")) || "/" : "";
}

function giveCuts() {
  const { script, without } = cutScript(shown, ownFolder());
  notify(without ? countText(without, "event") + " left out: no file holds the recording." : "");
  offer("cuts.sh", "application/x-sh", script);
}

export function startHanding() {
  byId("csv").addEventListener("click", () => offer("events.csv", "text/csv", eventTable(shown)));
  byId("json").addEventListener("click", () => offer("events.json", "application/json", eventJson(shown)));
  byId("cuts").addEventListener("click", giveCuts);
  byId("print").addEventListener("click", () => print());
}
