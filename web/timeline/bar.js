// Which buttons move the timeline?  Zoom, all, and by which clock.
import { byId } from "../elements.js";
import { someHaveClock } from "../model/recordings.js";
import { byClock, inputs, setClock, showAll, when, zoom } from "../model/state.js";

export function startBar() {
  byId("zoomin").addEventListener("click", () => zoom(0.5));
  byId("zoomout").addEventListener("click", () => zoom(2));
  byId("fit").addEventListener("click", showAll);
  byId("byclock").addEventListener("click", () => setClock(true));
  byId("byinput").addEventListener("click", () => setClock(false));
  byId("axes").hidden = !someHaveClock(inputs);
  when("rows", () => {
    byId("byclock").setAttribute("aria-pressed", byClock);
    byId("byinput").setAttribute("aria-pressed", !byClock);
  });
}
