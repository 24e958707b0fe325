// What is the page of mdscan zones --edit made of, and where does it begin?
import { takeBlocks } from "../blocks.js";
import { byId } from "../elements.js";
import { startTheme } from "../theme.js";
import { startCards } from "./cards.js";
import { grid, video } from "./facts.js";
import { startFiles } from "./storing.js";
import { startFrames } from "./frames.js";
import { begin, noteSaved } from "./model/editing.js";
import { startPointer } from "./pointer.js";
import { startShortcuts } from "./shortcuts.js";
import { startStage } from "./stage.js";

startTheme();
byId("video").textContent = video;
byId("about").textContent = "Pictures of " + grid.width + " x " + grid.height + " pixels, " +
  grid.columns + " x " + grid.rows + " blocks of " + grid.block;
startFrames(takeBlocks("picture"));
startStage();
startCards();
startFiles();
startShortcuts();
startPointer();
for (const { name, text } of takeBlocks("zonefile")) {
  begin(text, name);
}
noteSaved();
