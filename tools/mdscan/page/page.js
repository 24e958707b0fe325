// What stands around timeline, list and player?  Summary, cameras, problems, theme, keys; and where it all begins.
function count(number, what) {
  return number + " " + what + (number === 1 ? "" : "s");
}

function summarize() {
  const seconds = inputs.reduce((sum, input) => sum + input.seconds, 0);
  const broken = inputs.filter((input) => input.status !== "complete");
  const moved = events.reduce((sum, event) => sum + event.length, 0);
  byId("summary").textContent = count(events.length, "event") + ", " + secondsText(moved, false) + " in all, of " +
    secondsText(seconds, false) + " in " + count(inputs.length, "input") +
    (broken.length ? "; " + broken.length + " not read in full" : "") +
    (theEnd.left_out ? "; " + count(theEnd.left_out, "picture") + " left out to keep the page small" : "");
  const { type, schema, version, zones, excluded, ...settings } = scan;
  byId("settings").textContent = "mdscan " + version + ": " +
    Object.entries(settings).map(([name, value]) => name.replace(/_/g, "-") + " " + value).join(", ") +
    (withClock.length ? ". Times of day as in " + Intl.DateTimeFormat().resolvedOptions().timeZone : "");
}

function showCameras() {
  const place = document.querySelector("#cameras .cards");
  byId("cameras").hidden = !cameras.length;
  for (const camera of cameras) {
    const figure = make("figure"), caption = make("figcaption"), picture = make("img");
    const toggle = make("button", "Background");
    picture.src = camera.heat;
    picture.alt = "Where it moved";
    picture.style.aspectRatio = camera.width + " / " + camera.height;
    toggle.type = "button";
    toggle.setAttribute("aria-pressed", "false");
    toggle.addEventListener("click", () => {
      const bare = toggle.getAttribute("aria-pressed") !== "true";
      toggle.setAttribute("aria-pressed", bare);
      picture.src = bare ? camera.background : camera.heat;
      picture.alt = bare ? "Learned background" : "Where it moved";
    });
    caption.append(make("b", camera.camera), toggle);
    figure.append(caption, picture);
    place.append(figure);
  }
}

function showProblems() {
  const place = document.querySelector("#problems ul");
  for (const input of inputs.filter((one) => one.status !== "complete")) {
    const item = make("li");
    item.append(make("b", input.status + " "), make("span", input.file + (input.reason ? ": " + input.reason : "") +
      (input.seconds ? " (" + secondsText(input.seconds, false) + " read)" : "")));
    place.append(item);
  }
  for (const gap of gaps) {
    const item = make("li"), when = secondsText(gap.start, true) + " to " + secondsText(gap.end, true);
    item.append(make("b", "gap "), make("span", gap.input.file + ", " + when + ": " + gap.reason));
    place.append(item);
  }
  byId("problems").hidden = !place.children.length;
}

const dark = matchMedia("(prefers-color-scheme: dark)");
let theme = "";                                              // empty: as the system has it

function applyTheme() {
  document.documentElement.dataset.theme = theme || (dark.matches ? "dark" : "light");
  byId("theme").textContent = "Theme: " + (theme || "system");
  readColors();
  redraw();
}

function setClock(on) {
  clock = on;
  byId("byclock").setAttribute("aria-pressed", on);
  byId("byinput").setAttribute("aria-pressed", !on);
  layRows();
}

function toggleHelp() {
  byId("keys").hidden = !byId("keys").hidden;
  byId("help").setAttribute("aria-expanded", !byId("keys").hidden);
}

const keys = {
  j: () => step(1), k: () => step(-1), ArrowDown: () => step(1), ArrowUp: () => step(-1),
  ArrowLeft: () => pan(-0.2), ArrowRight: () => pan(0.2), "+": () => zoom(0.5), "=": () => zoom(0.5), "-": () => zoom(2),
  0: () => setView(whole.from, whole.to), "/": () => byId("text").focus(), "?": toggleHelp, Escape: clearFilters,
  Enter: () => { if (!picked) { step(1); } },
  " ": () => { if (picked && video.getAttribute("src")) { video.paused ? video.play().catch(() => {}) : video.pause(); } },
};

document.addEventListener("keydown", (press) => {
  const field = press.target.closest("input, select"), pressable = press.target.closest("button, a, video");
  if (field && press.key === "Escape") {
    field.blur();
    return;
  }
  const act = keys[press.key];
  if (!act || field || press.ctrlKey || press.altKey || press.metaKey || (pressable && /^(Enter| )$/.test(press.key)) ||
      (press.target === video && press.key.startsWith("Arrow"))) {
    return;
  }
  press.preventDefault();
  act();
});

byId("theme").addEventListener("click", () => { theme = { "": "light", light: "dark", dark: "" }[theme]; applyTheme(); });
byId("help").addEventListener("click", toggleHelp);
byId("zoomin").addEventListener("click", () => zoom(0.5));
byId("zoomout").addEventListener("click", () => zoom(2));
byId("fit").addEventListener("click", () => setView(whole.from, whole.to));
byId("byclock").addEventListener("click", () => setClock(true));
byId("byinput").addEventListener("click", () => setClock(false));
dark.addEventListener("change", applyTheme);

applyTheme();
summarize();
showCameras();
showProblems();
makeFilters();
byId("axes").hidden = !withClock.length;
setClock(allHaveClock);
filter();
