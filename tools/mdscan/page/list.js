// Which events are there?  Filters choose them; a list shows those that fit into its window, however many there are.
const list = byId("list"), tall = byId("tall"), eventHeight = 84;
const wanted = { zones: new Set() };
const cells = new Map();                                     // by place in the list: what is in the document

function lengthOf(id, otherwise) {
  const value = parseFloat(byId(id).value);
  return Number.isFinite(value) ? value : otherwise;
}

function filter() {
  const words = byId("text").value.toLowerCase().split(/\s+/).filter(Boolean), camera = byId("camera").value;
  const shortest = lengthOf("shortest", 0), longest = lengthOf("longest", Infinity), order = byId("order").value;
  shown = events.filter((event) => event.length >= shortest && event.length <= longest &&
    (!camera || event.input.camera === camera) && words.every((word) => event.searched.includes(word)) &&
    (!wanted.zones.size || (event.zones || []).some((zone) => wanted.zones.has(zone))));
  if (order === "time" && allHaveClock) {
    shown.sort((a, b) => a.input.begin + a.start - b.input.begin - b.start);
  } else if (order !== "time") {
    shown.sort((a, b) => b[order] - a[order]);
  }
  byId("count").textContent = shown.length + " of " + events.length + (events.length === 1 ? " event" : " events");
  tall.style.height = shown.length * eventHeight + "px";
  clearCells();
  list.scrollTop = 0;
  showInList(picked);
  allowSteps();
  redraw();
}

function clearCells() {
  tall.textContent = "";
  cells.clear();
}

function zoneMarks(names, place) {
  for (const name of names) {
    const mark = make("i", "", "zone");
    mark.style.setProperty("--zone", zoneColor(name));
    place.append(mark, make("small", name + " "));
  }
}

function cellOf(place) {
  const event = shown[place], cell = make("div", "", "event");
  cell.style.top = place * eventHeight + "px";
  cell.setAttribute("role", "option");
  cell.setAttribute("aria-selected", event === picked);
  let picture = make("div", "", "blank");
  if (event.picture) {
    picture = make("img");
    picture.alt = "";
    picture.src = "data:image/jpeg;base64," + event.picture;
  }
  const text = make("div"), name = make("span", baseName(event.input.file), "name"), zones = make("span");
  name.append(make("small", " \u00b7 " + event.input.camera));
  text.append(make("b", eventTime(event) + "  \u00b7  " + lengthText(event.length)), name, zones);
  zoneMarks(event.zones || [], zones);
  cell.title = event.input.file;
  cell.append(picture, text);
  cell.addEventListener("click", () => pick(event, true));
  return cell;
}

function fillList() {
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

function showInList(event) {
  const place = shown.indexOf(event);
  const top = place * eventHeight, bottom = top + eventHeight;
  if (place >= 0 && (top < list.scrollTop || bottom > list.scrollTop + list.clientHeight)) {
    list.scrollTop = top - (list.clientHeight - eventHeight) / 2;
  }
  for (const [at, cell] of cells) {
    cell.setAttribute("aria-selected", at === place);
  }
  fillList();
}

function makeFilters() {
  for (const name of scan.zones) {
    const button = make("button", name);
    button.type = "button";
    button.style.setProperty("--zone", zoneColor(name));
    button.setAttribute("aria-pressed", "false");
    button.addEventListener("click", () => {
      const on = !wanted.zones.delete(name) && Boolean(wanted.zones.add(name));
      button.setAttribute("aria-pressed", on);
      filter();
    });
    byId("zones").append(button);
  }
  const names = [...new Set(inputs.map((input) => input.camera))];
  for (const name of names) {
    const option = make("option", name);
    option.value = name;
    byId("camera").append(option);
  }
  byId("camerafilter").hidden = names.length < 2;
  for (const id of ["text", "camera", "shortest", "longest", "order"]) {
    byId(id).addEventListener("input", filter);
  }
}

function clearFilters() {
  for (const id of ["text", "camera", "shortest", "longest"]) {
    byId(id).value = "";
  }
  wanted.zones.clear();
  for (const button of byId("zones").children) {
    button.setAttribute("aria-pressed", "false");
  }
  filter();
}

list.addEventListener("scroll", fillList);
new ResizeObserver(fillList).observe(list);
