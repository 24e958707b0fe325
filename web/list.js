// Which events are there?  A list in #list shows those that fit into its window, however many there are.
import { makeOverlay, showBoxes } from "./boxes.js";
import { byId, make, pictureAddress } from "./elements.js";
import { addZoneMarks } from "./marks.js";
import { cameras, pick, picked, shown, when } from "./model/state.js";
import { baseName, eventTime, lengthText } from "./texts.js";

const list = byId("list"), tall = byId("tall"), eventHeight = 84;
const cells = new Map();                                     // by place in the list: what is in the document

// inPlace: no other events are wanted than before, so whoever looks at these is not led away.
function showChoice(inPlace) {
  tall.style.height = shown.length * eventHeight + "px";
  showAnew();
  if (!inPlace) {
    list.scrollTop = 0;
    showPicked();
  }
}

function showAnew() {
  tall.textContent = "";
  cells.clear();
  fill();
}

function pictureOf(event) {
  if (!event.picture) {
    return make("div", "", "blank");
  }
  const place = make("div", "", "thumb"), picture = make("img"), overlay = makeOverlay();
  picture.alt = "";
  showBoxes(overlay, event.boxes, event.input, event.input);   // paper does not wait until it is loaded
  picture.addEventListener("load", () => showBoxes(overlay, event.boxes, event.input,
    { width: picture.naturalWidth, height: picture.naturalHeight }));
  picture.src = pictureAddress(event.picture);
  place.append(picture, overlay);
  return place;
}

// An event by itself: its picture, and what is known of it.
export function eventCell(event) {
  const cell = make("div", "", "event");
  const text = make("div"), name = make("span", baseName(event.input.file), "name"), zones = make("span");
  if (cameras.size > 1) {
    name.append(make("small", " \u00b7 " + event.input.cameraName));
  }
  if (event.mark) {
    zones.append(make("small", event.mark, "mark"));
  }
  if (event.flash) {
    zones.append(make("small", "flash", "flash"));
  }
  text.append(make("b", eventTime(event) + "  \u00b7  " + lengthText(event.length)), name, zones);
  addZoneMarks(event.zones || [], zones);
  cell.title = event.input.file;
  cell.dataset.mark = event.mark;
  cell.append(pictureOf(event), text);
  return cell;
}

function cellOf(place) {
  const event = shown[place], cell = eventCell(event);
  cell.style.top = place * eventHeight + "px";
  cell.setAttribute("role", "option");
  cell.setAttribute("aria-selected", event === picked);
  cell.addEventListener("click", () => pick(event, true));
  return cell;
}

function fill() {
  const first = Math.max(0, Math.floor(list.scrollTop / eventHeight) - 4);
  const last = Math.min(shown.length - 1, Math.ceil((list.scrollTop + list.clientHeight) / eventHeight) + 4);
  for (const [place, cell] of cells) {
    if (place < first || place > last) {
      cell.remove();
      cells.delete(place);
    }
  }
  for (let place = first; place <= last; ++place) {
    if (!cells.has(place)) {
      const cell = cellOf(place);
      cells.set(place, cell);
      tall.append(cell);
    }
  }
}

function showPicked() {
  const place = shown.indexOf(picked), top = place * eventHeight, bottom = top + eventHeight;
  if (place >= 0 && (top < list.scrollTop || bottom > list.scrollTop + list.clientHeight)) {
    list.scrollTop = top - (list.clientHeight - eventHeight) / 2;
  }
  for (const [at, cell] of cells) {
    cell.setAttribute("aria-selected", at === place);
  }
  fill();
}

export function startList() {
  when("shown", showChoice);
  when("picked", showPicked);
  when("judged", showAnew);
  when("teller", showAnew);
  list.addEventListener("scroll", fill);
  new ResizeObserver(fill).observe(list);
}
