// Which colour is which condition, and for how long was it so in all?  #legend, where there are any.
import { conditionColour } from "../colours.js";
import { byId, make } from "../elements.js";
import { sumsOf } from "../model/conditions.js";
import { conditions } from "../model/state.js";
import { lengthText } from "../texts.js";

export function showLegend() {
  for (const { name, seconds } of sumsOf(conditions)) {
    const entry = make("span"), mark = make("i", "", "zone");
    mark.style.setProperty("--zone", conditionColour(name));
    entry.append(mark, make("small", name + " " + lengthText(seconds)));
    byId("legend").append(entry);
  }
  byId("legend").hidden = !conditions.length;
}
