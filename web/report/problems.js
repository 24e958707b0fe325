// What was not read in full?  Broken inputs, then gaps.
import { byId, make } from "../elements.js";
import { gaps, inputs } from "../model/state.js";
import { secondsText } from "../texts.js";

const place = document.querySelector("#problems ul");

function add(what, text) {
  const item = make("li");
  item.append(make("b", what + " "), make("span", text));
  place.append(item);
}

export function showProblems() {
  for (const input of inputs.filter((one) => one.status !== "complete")) {
    add(input.status, input.file + (input.reason ? ": " + input.reason : "") +
        (input.seconds ? " (" + secondsText(input.seconds, false) + " read)" : ""));
  }
  for (const gap of gaps) {
    const when = secondsText(gap.start, true) + " to " + secondsText(gap.end, true);
    add("gap", gap.input.file + ", " + when + ": " + gap.reason);
  }
  byId("problems").hidden = !place.children.length;
}
