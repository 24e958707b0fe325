// What is the page that detects motion made of, and where does it begin?  A video plays; so many of its pictures a second as
// are set go to the detector, and what it finds is drawn.
import { chooseBlockSize, CoreMD } from "../../wasm/package/detector.js";
import { bytesOf } from "../blocks.js";
import { byId } from "../elements.js";
import { notify } from "../notice.js";
import { startTheme } from "../theme.js";
import { draw, startDrawing } from "./drawing.js";
import { makePacer } from "./pacing.js";
import { pictureOf } from "./picture.js";
import { offerBlockSize, settings, startSettings } from "./settings.js";
import { playSample, startSources } from "./sources.js";
import { forget, tell } from "./telling.js";

const video = byId("video");
let coremd = null;
let watch = null;                                            // of the video that plays: its detector, and what that has seen

async function detectorFor(picture, { blockSize, smallest }) {
  const { width, height, format } = picture;
  return coremd.createDetector({ width, height, format, blockSize, smallestWidth: smallest, smallestHeight: smallest });
}

function suits(detector, picture, { blockSize }) {
  return detector && detector.blockSize === blockSize &&
         ["width", "height", "format"].every((fact) => detector[fact] === picture[fact]);
}

// Of the picture that is shown now, which was taken at so many seconds of the video.
async function look(its, at) {
  const wanted = settings(), milliseconds = its.take(at, wanted.rate);
  if (milliseconds === null) {
    return;
  }
  const picture = pictureOf(video);
  try {
    if (!suits(its.detector, picture, wanted)) {
      Object.assign(its, { detector: await detectorFor(picture, wanted), pictures: 0, smallest: wanted.smallest });
      forget();
    }
    const detector = its.detector;
    await picture.read(detector);
    if (its.smallest !== wanted.smallest) {
      detector.setSmallest(wanted.smallest, wanted.smallest);
      its.smallest = wanted.smallest;
    }
    const begun = performance.now(), found = detector.detect(milliseconds), took = performance.now() - begun;
    if (its !== watch) {
      return;                                                // another video plays by now
    }
    its.pictures += 1;
    tell(detector, found, took, its.pictures);
    draw(detector, found.objects);
    document.dispatchEvent(new CustomEvent("detection", { detail: { ...found, milliseconds, detector } }));
  } finally {
    picture.close();
  }
}

function nextPicture(then) {
  if (video.requestVideoFrameCallback) {
    video.requestVideoFrameCallback((_, { mediaTime }) => then(mediaTime));
  } else {
    requestAnimationFrame(() => then(video.currentTime));
  }
}

// One picture at a time; those that come while one is looked at are left out.
function follow(its) {
  nextPicture(async (at) => {
    if (its !== watch) {
      return;
    }
    try {
      await look(its, at);
      follow(its);
    } catch (failure) {
      notify("Detection has ended: " + failure.message);
    }
  });
}

function begin() {
  byId("stage").style.setProperty("--aspect", video.videoWidth / video.videoHeight);
  offerBlockSize(chooseBlockSize(video.videoWidth, video.videoHeight));
  watch = { detector: null, take: makePacer(), pictures: 0, smallest: null };
  follow(watch);
}

async function start() {
  startTheme();
  startDrawing();
  startSources(video);
  startSettings();
  video.addEventListener("loadedmetadata", begin);
  coremd = new CoreMD(await WebAssembly.compile(bytesOf("module")));
  if (!matchMedia("(prefers-reduced-motion: reduce)").matches) {
    await playSample(video);
  }
}

start().catch((failure) => notify("This browser cannot run the detector: " + failure.message));
