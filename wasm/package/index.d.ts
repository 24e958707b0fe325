// What does a program in JavaScript or TypeScript see?  Motion detection on a coarse grid, in browsers and in Node.
//
//     const coremd = await load();
//     const detector = await coremd.createDetector({ width: 1280, height: 720 });
//     ...                                                       // six times a second
//     await detector.read(frame);                               // a VideoFrame; or write to detector.picture
//     for (const object of detector.detect(milliseconds).objects) show(detector.boxOf(object));
//
// Nothing is asked of the network but, by load(), the module itself.

/** How the pixels of a picture lie in memory: rows without padding, planes one after another, as VideoFrame names them. */
export type PictureFormat = "I420" | "I422" | "I444" | "NV12" | "RGBA";

export interface DetectorSettings {
  /** In pixels. */
  width: number;
  height: number;
  /** "I420" unless told. RGBA is converted to limited-range BT.601, in whole numbers. */
  format?: PictureFormat;
  /** Pixels along one side of a block, 1 to 64; chooseBlockSize unless told. */
  blockSize?: number;
  /** Smaller objects are left out: fractions of the picture, 0 to 1; 0 keeps all. */
  smallestWidth?: number;
  smallestHeight?: number;
  /**
   * Of pictures that come sooner after each other than at this rate, some are left out; 1000 unless told: none is. Show five
   * to eight a second.
   */
  framesPerSecond?: number;
  /** Whether shadows are told from what moves; not, unless told. */
  detectShadow?: boolean;
}

/** One thing that moves, in blocks; right and bottom belong to it. */
export interface MotionObject {
  left: number;
  top: number;
  right: number;
  bottom: number;
  /** How many blocks it consists of. */
  blocks: number;
}

export interface Detection {
  /** Whether 11 pictures were seen; there are no objects before. */
  isReady: boolean;
  objects: MotionObject[];
}

export interface Box {
  x: number;
  y: number;
  width: number;
  height: number;
}

/** A VideoFrame, by what is needed of it: not every compiler's library knows that name. */
export interface DecodedFrame {
  readonly format: string | null;
  readonly visibleRect: { readonly width: number; readonly height: number } | null;
  copyTo(destination: Uint8Array, options?: { layout?: { offset: number; stride: number }[] }): Promise<unknown>;
}

/** Sees one camera. Its memory goes when nobody holds it any more. Arrays that it returns are the caller's. */
export interface Detector {
  readonly width: number;
  readonly height: number;
  readonly format: PictureFormat;
  readonly blockSize: number;
  readonly framesPerSecond: number;
  /** The grid. */
  readonly columns: number;
  readonly rows: number;
  /** Of the library that runs. */
  readonly version: string;
  /** Where the planes of `picture` begin and how far their rows are apart, in bytes. */
  readonly layout: { offset: number; stride: number }[];
  /** The picture that detect() will look at, to be written. Ask for it anew for each picture: its memory may move. */
  readonly picture: Uint8Array;
  /** Copies a frame of the same size and format to `picture`. Call nothing else of the detector until it is there. */
  read(frame: DecodedFrame): Promise<void>;
  /** Looks at `picture`, taken at this time. Times rise; where one falls, all that was learned is forgotten. */
  detect(milliseconds: number): Detection;
  /** Of each block, row after row: 0, or the place of its object in the last detection's list, from 1. */
  labels(): Uint16Array;
  /** Of each block: 255 where the last picture differed from the background, else 0. */
  moving(): Uint8Array;
  /** The learned background, a pixel of RGBA for each block, as ImageData takes it; transparent where none is known. */
  background(): Uint8ClampedArray;
  /** Leaves out smaller objects from now on. What was learned stays. */
  setSmallest(width: number, height: number): void;
  /** In pixels. */
  boxOf(object: MotionObject): Box;
}

export interface CoreMD {
  /** Rejects with a RangeError where a setting is outside its range. */
  createDetector(settings: DetectorSettings): Promise<Detector>;
}

/** Fetches and compiles the module: from the package itself unless told from where, or what it is. */
export function load(source?: URL | string | Response | BufferSource | WebAssembly.Module): Promise<CoreMD>;

/** The smallest power of two that gives at most 240 columns. */
export function chooseBlockSize(width: number, height: number): number;
