// How is the viewer told something?  #notice, until the next thing is told.
import { byId } from "./elements.js";

export function notify(text) {
  byId("notice").textContent = text;
  byId("notice").hidden = !text;
}
