// Is the page light or dark?  As #theme was set, else as the system has it.
import { byId } from "./elements.js";

const dark = matchMedia("(prefers-color-scheme: dark)");
const following = { "": "light", light: "dark", dark: "" };

// told: hears of each theme once the page has it. "light" or "dark"; empty: as the system has it.
export function startTheme(told = () => {}) {
  let theme = "";
  function apply() {
    document.documentElement.dataset.theme = theme || (dark.matches ? "dark" : "light");
    byId("theme").textContent = "Theme: " + (theme || "system");
    told(theme);
  }
  byId("theme").addEventListener("click", () => {
    theme = following[theme];
    apply();
  });
  dark.addEventListener("change", apply);
  apply();
}
