// What is the page of --report made of, and where does it begin?
import { startAddress } from "../address.js";
import { takeBlocks } from "../blocks.js";
import { startBoxes } from "../boxes.js";
import { applyFilters, startFilters } from "../filters.js";
import { startHanding } from "../handing.js";
import { startJudging } from "../judging.js";
import { startKeeping } from "../keeping.js";
import { startList } from "../list.js";
import { allHaveClock } from "../model/recordings.js";
import { inputs, open, setClock, setTheme } from "../model/state.js";
import { startPlace } from "../place.js";
import { startPlayback } from "../playback.js";
import { startPlayer } from "../player.js";
import { startPrinting } from "../printing.js";
import { startTheme } from "../theme.js";
import { startBar } from "../timeline/bar.js";
import { showLegend } from "../timeline/legend.js";
import { startPeriod } from "../timeline/period.js";
import { startTimeline } from "../timeline/timeline.js";
import { startTracking } from "../tracking.js";
import { showCameras } from "./cameras.js";
import { startKeys } from "./keys.js";
import { showProblems } from "./problems.js";
import { showSummary, startSettings } from "./summary.js";

open(takeBlocks("scan")[0], takeBlocks("input"));
startTheme(setTheme);                                        // who hears of it reads colours that the page has already
startPeriod();                                               // before anything tells a time
showSummary(takeBlocks("end")[0].left_out);
startSettings();
showCameras(takeBlocks("camera"));
showProblems();
showLegend();
startFilters();
startPlace();
startPlayer();
startTracking();
startPlayback();
startBoxes();
startJudging();
startKeeping();
startHanding();
startPrinting();
startList();
startTimeline();
startBar();
startKeys();
setClock(allHaveClock(inputs));
applyFilters();                                              // a browser may have kept what its fields held
startAddress();
