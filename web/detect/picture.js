// How does a picture of a video get to the detector?  As the decoder made it, where the browser hands out its planes; else
// by a canvas, as colours of pixels.
const planar = ["I420", "I422", "I444", "NV12"];
let canvas = null;

function planesOf(video) {
  if (typeof VideoFrame === "undefined") {
    return null;
  }
  const frame = new VideoFrame(video);
  if (!planar.includes(frame.format)) {
    frame.close();
    return null;
  }
  return {
    width: frame.visibleRect.width,
    height: frame.visibleRect.height,
    format: frame.format,
    read: (detector) => detector.read(frame),
    close: () => frame.close(),
  };
}

function coloursOf(video) {
  canvas = canvas || new OffscreenCanvas(1, 1);
  const { videoWidth: width, videoHeight: height } = video;
  return {
    width,
    height,
    format: "RGBA",
    async read(detector) {
      if (canvas.width !== width || canvas.height !== height) {
        Object.assign(canvas, { width, height });
      }
      const context = canvas.getContext("2d", { willReadFrequently: true });
      context.drawImage(video, 0, 0, width, height);
      detector.picture.set(context.getImageData(0, 0, width, height).data);
    },
    close() {},
  };
}

// What the video shows now; to be closed.
export function pictureOf(video) {
  return planesOf(video) || coloursOf(video);
}
