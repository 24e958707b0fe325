// Which zones are there, and what is wrong with them?  A card of fields for each.
import { byId, make } from "../elements.js";
import { facts, grid, maxSize, minSize } from "./facts.js";
import { effectOf, errorsOf, fileErrors, warningsOf } from "./model/checks.js";
import { countOf } from "./model/coverage.js";
import { pick, picked, removeZone, setExclusion, setName, setSize, when, zones } from "./model/editing.js";
import { cornersOf } from "./model/zonefile.js";
import { countText } from "../texts.js";
import { colourOf } from "./stage.js";

const cards = new Map();                                     // by the id of the zone

function labelled(text, field) {
  const label = make("label", text + " ");
  label.append(field);
  return label;
}

function makeField(type, label) {
  const field = make("input");
  field.type = type;
  field.setAttribute("aria-label", label);
  return field;
}

// key: of the zone file; usual: what holds where the zone says nothing.
function makeSize(id, key, label, usual) {
  const field = makeField("number", label + ", as a fraction of the picture's width and height");
  Object.assign(field, { min: 0, max: 1, step: "any", placeholder: usual, className: key });
  field.addEventListener("input", () => {
    if (!field.validity.badInput) {
      setSize(id, key, field.value === "" ? undefined : Number(field.value));
    }
  });
  return field;
}

function makeCard({ id }) {
  const card = make("article", "", "card"), name = makeField("text", "Name"), excluded = makeField("checkbox", "Excluded");
  const remove = make("button", "Delete"), first = make("div", "", "bar"), second = make("div", "", "bar");
  const sizes = [makeSize(id, "min_size", "Smallest object", minSize), makeSize(id, "max_size", "Largest object", maxSize)];
  const said = make("p", "", "facts"), troubles = make("ul");
  name.className = "name";
  excluded.className = "exclude";
  remove.type = "button";
  remove.className = "remove";
  name.addEventListener("input", () => setName(id, name.value));
  excluded.addEventListener("input", () => setExclusion(id, excluded.checked));
  remove.addEventListener("click", () => removeZone(id));
  card.addEventListener("focusin", (event) => { if (event.target !== remove) { pick(id); } });
  card.addEventListener("pointerdown", () => pick(id));
  troubles.setAttribute("aria-live", "polite");
  first.append(make("i", "", "zone"), name, labelled("Excluded", excluded), remove);
  second.append(labelled("Objects from", sizes[0]), labelled("to", sizes[1]));
  card.append(first, second, said, troubles);
  byId("cards").append(card);
  return { card, name, excluded, sizes, said, troubles, mark: first.firstChild };
}

// Not while somebody writes there.
function fill(field, value) {
  if (document.activeElement !== field && field.value !== value) {
    field.value = value;
  }
}

function factsText(zone, blocks) {
  const what = cornersOf(zone) ? countText(cornersOf(zone).length, "corner") : "mask " + zone.value.mask;
  const share = blocks && 100 * countOf(blocks) / (grid.columns * grid.rows);
  return what + (blocks ? ", " + countText(countOf(blocks), "block") + ", " + share.toFixed(1) + " % of the picture"
    : ", which this page does not know");
}

function showTroubles(place, errors, warnings) {
  place.replaceChildren(...errors.map((text) => make("li", text, "error")),
                        ...warnings.map((text) => make("li", text, "warning")));
}

function showCard(zone) {
  if (!cards.has(zone.id)) {
    cards.set(zone.id, makeCard(zone));
  }
  const { card, name, excluded, sizes, said, troubles, mark } = cards.get(zone.id), { value } = zone;
  card.classList.toggle("picked", zone.id === picked);
  fill(name, String(value.name ?? ""));
  excluded.checked = value.exclude === true;
  fill(sizes[0], String(value.min_size ?? ""));
  fill(sizes[1], String(value.max_size ?? ""));
  sizes.forEach((field) => { field.disabled = value.exclude === true; });
  mark.style.setProperty("--zone", colourOf(zone) || "#000");
  const errors = errorsOf(zone, zones());
  said.textContent = factsText(zone, effectOf(zone, zones(), facts));
  showTroubles(troubles, errors, errors.length ? [] : warningsOf(zone, zones(), facts));
}

function showCards() {
  const ids = new Set(zones().map((zone) => zone.id));
  for (const [id, { card }] of cards) {
    if (!ids.has(id)) {
      card.remove();
      cards.delete(id);
    }
  }
  zones().forEach((zone, place) => {
    showCard(zone);
    const { card } = cards.get(zone.id);
    if (byId("cards").children[place] !== card) {            // one that was taken away is back
      byId("cards").insertBefore(card, byId("cards").children[place]);
    }
  });
  byId("none").hidden = zones().length > 0;
  showTroubles(byId("filetroubles"), zones().length ? fileErrors(zones()) : [], []);
}

export function focusName(id) {
  const { card, name } = cards.get(id);
  card.scrollIntoView({ block: "nearest" });
  name.focus();
  name.select();
}

export function startCards() {
  when(showCards);
}
