// How do zones come from a file, and go into one?
import { byId } from "../elements.js";
import { offer } from "../files.js";
import { errorsOf, fileErrors, isSound } from "./model/checks.js";
import { isUnsaved, name, noteSaved, open, text, when, zones } from "./model/editing.js";
import { focusName } from "./cards.js";

function say(what, isBad = false) {
  byId("say").textContent = what;
  byId("say").classList.toggle("error", isBad);
}

async function load(file) {
  try {
    const bytes = await file.arrayBuffer();
    open(new TextDecoder("utf-8", { fatal: true, ignoreBOM: true }).decode(bytes), file.name);
    say("Loaded " + file.name + ". Undo brings back what was here before.");
  } catch (error) {
    say(file.name + " is no zone file: " + error.message, true);
  }
}

export function save() {
  if (!isSound(zones())) {
    const wrong = zones().find((zone) => errorsOf(zone, zones()).length);
    say("Not saved, mdscan would refuse it: " + (wrong ? "see the zone marked." : fileErrors(zones())[0] + "."), true);
    if (wrong) {
      focusName(wrong.id);
    }
    return;
  }
  offer(name, "application/json", text());
  noteSaved();
  say("Saved as " + name + ", where this browser keeps downloads.");
}

function takeDropped(event) {
  event.preventDefault();
  document.body.classList.remove("over");
  const file = event.dataTransfer.files[0];
  if (file) {
    load(file);
  }
}

export function startFiles() {
  byId("load").addEventListener("click", () => byId("file").click());
  byId("file").addEventListener("change", async () => {
    await load(byId("file").files[0]);
    byId("file").value = "";                                 // the same file may be wanted once more
  });
  byId("save").addEventListener("click", save);
  document.addEventListener("dragover", (event) => {
    event.preventDefault();
    document.body.classList.add("over");
  });
  document.addEventListener("dragleave", () => document.body.classList.remove("over"));
  document.addEventListener("drop", takeDropped);
  addEventListener("beforeunload", (event) => {
    if (isUnsaved()) {
      event.preventDefault();
    }
  });
  when(() => {
    byId("filename").textContent = name + (isUnsaved() ? " (not saved)" : "");
  });
}
