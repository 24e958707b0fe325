// Do the package's types say what its functions take and give?  Only compiled.
import { chooseBlockSize, CoreMD, DecodedFrame, Detection, Detector, load, MotionObject } from "coremd";

export async function look(video: HTMLVideoElement, frame: DecodedFrame): Promise<number[]> {
  const coremd: CoreMD = await load(new URL("https://example.org/coremd.wasm"));
  const detector: Detector = await coremd.createDetector({
    width: video.videoWidth, height: video.videoHeight, format: "NV12",
    blockSize: chooseBlockSize(video.videoWidth, video.videoHeight), smallestWidth: 0.1, detectShadow: true,
  });
  await detector.read(frame);
  const found: Detection = detector.detect(video.currentTime * 1000);
  const widths = found.objects.map((object: MotionObject) => detector.boxOf(object).width);
  new ImageData(detector.background(), detector.columns, detector.rows);
  // @ts-expect-error: a format that there is not
  await coremd.createDetector({ width: 1, height: 1, format: "BGR" });
  // @ts-expect-error: sizes are needed
  await coremd.createDetector({});
  // @ts-expect-error: the grid is the detector's own
  detector.columns = 3;
  return [...widths, ...detector.labels(), ...detector.moving()];
}
