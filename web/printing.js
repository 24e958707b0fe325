// What is printed?  The whole list, which else has no more in the document than is to see.
import { byId, make } from "./elements.js";
import { eventCell } from "./list.js";
import { shown } from "./model/state.js";
import { countText } from "./texts.js";

const sheet = byId("sheet"), onPaper = matchMedia("print");

function fillSheet() {
  sheet.replaceChildren(make("h1", countText(shown.length, "event")), ...shown.map(eventCell));
}

export function startPrinting() {
  addEventListener("beforeprint", fillSheet);
  addEventListener("afterprint", () => sheet.replaceChildren());
  onPaper.addEventListener("change", () => onPaper.matches ? fillSheet() : sheet.replaceChildren());
}
