// How does the viewer mark events, and ask for those that are marked?  Buttons in #verdict and #verdictfilter; marks to a
// file and from one.
import { byId, makeToggle } from "./elements.js";
import { offer } from "./files.js";
import { events, judge, picked, want, wanted, when } from "./model/state.js";
import { markText, marksOf, verdicts } from "./model/verdicts.js";
import { notify } from "./notice.js";
import { countText } from "./texts.js";

// Marks the picked event so, or no longer so.
export function toggleMark(mark) {
  if (picked) {
    judge([[picked, picked.mark === mark ? "" : mark]], true);
  }
}

function addButton(place, mark, text, press) {
  const button = makeToggle(text);
  button.dataset.mark = mark;
  button.addEventListener("click", press);
  byId(place).append(button);
}

function toggleWanted(mark) {
  const marks = new Set(wanted.marks);
  if (!marks.delete(mark)) {
    marks.add(mark);
  }
  want({ ...wanted, marks });
}

function showPressed() {
  for (const button of byId("verdict").children) {
    button.setAttribute("aria-pressed", Boolean(picked) && picked.mark === button.dataset.mark);
  }
  for (const button of byId("verdictfilter").children) {
    button.setAttribute("aria-pressed", wanted.marks.has(button.dataset.mark));
  }
}

function save() {
  const marked = events.filter((event) => event.mark);
  offer("marks.json", "application/json", markText(marked.map(({ key, mark }) => [key, mark])));
}

// Those that the file does not name keep theirs.
function load(name, text) {
  const { marks, trouble } = marksOf(text);
  if (trouble) {
    notify(name + " " + trouble + ". No mark was changed.");
    return;
  }
  const known = events.filter((event) => marks.has(event.key));
  judge(known.map((event) => [event, marks.get(event.key)]), true);
  const others = marks.size - new Set(known.map((event) => event.key)).size;
  notify(countText(marks.size - others, "mark") + " loaded from " + name + "." +
         (others ? " " + countText(others, "mark") + " of events that this page does not have." : ""));
}

export function startJudging() {
  for (const mark of verdicts) {
    addButton("verdict", mark, mark, () => toggleMark(mark));
  }
  for (const mark of ["", ...verdicts]) {
    addButton("verdictfilter", mark, mark || "unmarked", () => toggleWanted(mark));
  }
  for (const change of ["picked", "judged", "shown"]) {
    when(change, showPressed);
  }
  byId("savemarks").addEventListener("click", save);
  byId("loadmarks").addEventListener("click", () => byId("marksfile").click());
  byId("marksfile").addEventListener("change", async ({ target }) => {
    const [file] = target.files;
    if (file) {
      load(file.name, await file.text());
      target.value = "";                                     // the same one may be chosen again
    }
  });
}
