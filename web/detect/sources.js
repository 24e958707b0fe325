// Where do pictures come from?  The sample that the page holds, a file of the viewer's, or a camera: one video element.
import { bytesOf } from "../blocks.js";
import { byId } from "../elements.js";
import { notify } from "../notice.js";

const sample = () => new Blob([bytesOf("sample-clip")], { type: "video/mp4" });
let release = () => {};                                      // what the last source still holds

async function play(video, name, prepare) {
  notify("");
  release();
  release = prepare();
  byId("source").textContent = name;
  for (const which of ["sample", "file", "camera"]) {
    byId(which).setAttribute("aria-pressed", which === video.dataset.source);
  }
  try {
    await video.play();
  } catch (failure) {
    if (failure.name !== "AbortError") {                     // another source was asked for meanwhile
      notify(`${name} cannot be played: ${video.error?.message || failure.message}`);
    }
  }
}

function playFile(video, kind, name, blob) {
  video.dataset.source = kind;
  return play(video, name, () => {
    const address = URL.createObjectURL(blob);
    Object.assign(video, { srcObject: null, src: address, loop: true });
    return () => URL.revokeObjectURL(address);
  });
}

export function playSample(video) {
  return playFile(video, "sample", "A street, rendered", sample());
}

async function playCamera(video) {
  let stream;
  try {
    stream = await navigator.mediaDevices.getUserMedia({ video: { width: { ideal: 1280 }, height: { ideal: 720 } } });
  } catch (failure) {
    notify("No camera: " + failure.message);
    return;
  }
  video.dataset.source = "camera";
  await play(video, stream.getVideoTracks()[0]?.label || "Camera", () => {
    video.removeAttribute("src");
    video.srcObject = stream;
    return () => stream.getTracks().forEach((track) => track.stop());
  });
}

export function startSources(video) {
  const chooser = byId("chosen");
  byId("sample").addEventListener("click", () => playSample(video));
  byId("file").addEventListener("click", () => chooser.click());
  chooser.addEventListener("change", () => {
    const [file] = chooser.files;
    chooser.value = "";
    if (file) {
      playFile(video, "file", file.name, file);
    }
  });
  byId("camera").disabled = !navigator.mediaDevices;
  byId("camera").addEventListener("click", () => playCamera(video));
  document.addEventListener("dragover", (event) => event.preventDefault());
  document.addEventListener("drop", (event) => {
    event.preventDefault();
    const [file] = event.dataTransfer.files;
    if (file) {
      playFile(video, "file", file.name, file);
    }
  });

  const pause = byId("pause");
  pause.addEventListener("click", () => (video.paused ? video.play() : video.pause()));
  for (const event of ["play", "pause"]) {
    video.addEventListener(event, () => { pause.textContent = video.paused ? "Play" : "Pause"; });
  }
}
