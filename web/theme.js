// Is the page light or dark?  As #theme was set, else as the system has it.
import { byId } from "./elements.js";
import { setTheme, theme, when } from "./model/state.js";

const dark = matchMedia("(prefers-color-scheme: dark)");
const following = { "": "light", light: "dark", dark: "" };

function apply() {
  document.documentElement.dataset.theme = theme || (dark.matches ? "dark" : "light");
  byId("theme").textContent = "Theme: " + (theme || "system");
}

export function startTheme() {
  when("theme", apply);
  byId("theme").addEventListener("click", () => setTheme(following[theme]));
  dark.addEventListener("change", () => setTheme(theme));
  apply();
}
