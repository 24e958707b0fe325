// What does a detector in JavaScript do?  One instance of the module of WebAssembly for each, which goes when nobody holds
// it any more. index.d.ts says what everything means.

// Bytes that a picture of each format has, and where its planes begin: as PictureStore.h lays them.
const formats = ["I420", "I422", "I444", "NV12", "RGBA"];
const bounds = { blockSize: 64, grid: 9999 };

function planesOf(format, width, height) {
  if (format === "RGBA") {
    return [{ offset: 0, stride: 4 * width }];
  }
  const across = format === "I444" ? width : Math.ceil(width / 2);
  const down = format === "I420" || format === "NV12" ? Math.ceil(height / 2) : height;
  const luma = { offset: 0, stride: width }, first = width * height;
  return format === "NV12" ? [luma, { offset: first, stride: 2 * across }]
    : [luma, { offset: first, stride: across }, { offset: first + across * down, stride: across }];
}

function requireWhole(name, value, least, most) {
  if (!Number.isInteger(value) || value < least || value > most) {
    throw new RangeError(`${name} is ${value}, not a whole number from ${least} to ${most}`);
  }
}

function requireWithin(name, value, least, most) {
  if (!(value >= least && value <= most)) {
    throw new RangeError(`${name} is ${value}, not a number from ${least} to ${most}`);
  }
}

// What the module may ask of its surroundings: to be heard when a condition is broken, and to end.
function surroundings(heard) {
  let memory = null;
  const refuse = () => 52;                                   // "no such function", in the system interface's own numbers
  const known = {
    fd_write(file, parts, count, written) {
      const view = new DataView(memory.buffer);
      let bytes = 0;
      for (let i = 0; i < count; ++i) {
        const address = view.getUint32(parts + 8 * i, true), length = view.getUint32(parts + 8 * i + 4, true);
        heard.push(new TextDecoder().decode(new Uint8Array(memory.buffer, address, length).slice()));
        bytes += length;
      }
      view.setUint32(written, bytes, true);
      return 0;
    },
    proc_exit(code) {
      throw new Error("ended with " + code);
    },
  };
  const any = (target) => new Proxy(target, { get: (names, name) => names[name] || refuse });
  return { imports: { wasi_snapshot_preview1: any(known), env: any({}) }, use: (its) => { memory = its; } };
}

// A small power of two that gives at most 240 columns: the grid for which the detector's constants were made.
export function chooseBlockSize(width, height) {
  let size = 1;
  while (size < bounds.blockSize && (Math.ceil(width / size) > 240 || Math.ceil(height / size) > bounds.grid)) {
    size *= 2;
  }
  return size;
}

export class CoreMD {
  #module;

  constructor(module) {
    this.#module = module;
  }

  async createDetector(settings) {
    const { width, height, format = "I420", smallestWidth = 0, smallestHeight = 0, framesPerSecond = 1000,
            detectShadow = false } = settings;
    requireWhole("width", width, 1, bounds.blockSize * bounds.grid);
    requireWhole("height", height, 1, bounds.blockSize * bounds.grid);
    const blockSize = settings.blockSize ?? chooseBlockSize(width, height);
    requireWhole("blockSize", blockSize, 1, bounds.blockSize);
    requireWhole("columns of blocks", Math.ceil(width / blockSize), 1, bounds.grid);
    requireWhole("rows of blocks", Math.ceil(height / blockSize), 1, bounds.grid);
    requireWithin("smallestWidth", smallestWidth, 0, 1);
    requireWithin("smallestHeight", smallestHeight, 0, 1);
    requireWithin("framesPerSecond", framesPerSecond, Number.MIN_VALUE, 1000);
    if (!formats.includes(format)) {
      throw new RangeError(`format is ${format}, none of ${formats.join(", ")}`);
    }
    const heard = [], around = surroundings(heard);
    const instance = await WebAssembly.instantiate(this.#module, around.imports);
    around.use(instance.exports.memory);
    const face = { width, height, format, blockSize, framesPerSecond, detectShadow };
    return new Detector(instance.exports, heard, face, { smallestWidth, smallestHeight });
  }
}

class Detector {
  #code;
  #heard;
  #detectShadow;

  constructor(code, heard, { detectShadow, ...face }, { smallestWidth, smallestHeight }) {
    this.#code = code;
    this.#heard = heard;
    this.#detectShadow = Boolean(detectShadow);
    Object.assign(this, face);
    this.#call(() => {
      code._initialize?.();
      code.begin(face.width, face.height, formats.indexOf(face.format), face.blockSize, smallestWidth, smallestHeight);
    });
    this.columns = code.columns();
    this.rows = code.rows();
    this.layout = planesOf(face.format, face.width, face.height);
    const version = code.version();
    this.version = [Math.floor(version / 10000), Math.floor(version / 100) % 100, version % 100].join(".");
  }

  // A trap, with the text that went before it.
  #call(what) {
    try {
      return what();
    } catch (failure) {
      throw this.#heard.length ? new Error(this.#heard.join("").trim(), { cause: failure }) : failure;
    }
  }

  get picture() {
    return new Uint8Array(this.#code.memory.buffer, this.#code.picture(), this.#code.pictureBytes());
  }

  async read(frame) {
    const { width, height } = frame.visibleRect;
    if (width !== this.width || height !== this.height || frame.format !== this.format) {
      throw new RangeError(`a picture of ${width} x ${height}, ${frame.format}, is none of ` +
                           `${this.width} x ${this.height}, ${this.format}`);
    }
    await frame.copyTo(this.picture, { layout: this.layout });
  }

  detect(milliseconds) {
    requireWithin("milliseconds", milliseconds, 0, 1e14);
    const count = this.#call(() => this.#code.detect(Math.round(milliseconds * 10000), this.framesPerSecond,
                                                     this.#detectShadow ? 1 : 0));
    const values = new Int32Array(this.#code.memory.buffer, this.#code.objects(), 5 * count);
    const objects = Array.from({ length: count }, (_, i) => {
      const [left, top, right, bottom, blocks] = values.subarray(5 * i, 5 * i + 5);
      return { left, top, right, bottom, blocks };
    });
    return { isReady: this.#code.isReady() !== 0, objects };
  }

  labels() {
    const address = this.#call(() => this.#code.labels()), blocks = this.columns * this.rows;
    return address ? new Uint16Array(this.#code.memory.buffer, address, blocks).slice() : new Uint16Array(blocks);
  }

  moving() {
    const address = this.#call(() => this.#code.moving());
    return new Uint8Array(this.#code.memory.buffer, address, this.columns * this.rows).slice();
  }

  background() {
    const address = this.#call(() => this.#code.background());
    return new Uint8ClampedArray(this.#code.memory.buffer, address, 4 * this.columns * this.rows).slice();
  }

  setSmallest(width, height) {
    requireWithin("width", width, 0, 1);
    requireWithin("height", height, 0, 1);
    this.#call(() => this.#code.setSmallest(width, height));
  }

  // Of an object, in pixels of the picture: its last blocks may be cut off by the picture's edge.
  boxOf(object) {
    const x = object.left * this.blockSize, y = object.top * this.blockSize;
    return { x, y, width: Math.min((object.right + 1) * this.blockSize, this.width) - x,
             height: Math.min((object.bottom + 1) * this.blockSize, this.height) - y };
  }
}
