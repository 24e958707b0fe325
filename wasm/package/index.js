// How does a program get the module that detects motion?  Fetched and compiled once, for any number of detectors.
import { CoreMD } from "./detector.js";

export { chooseBlockSize } from "./detector.js";

export async function load(source = new URL("coremd.wasm", import.meta.url)) {
  if (source instanceof WebAssembly.Module) {
    return new CoreMD(source);
  }
  if (source instanceof URL || typeof source === "string") {
    source = await fetch(source);
  }
  if (typeof Response !== "undefined" && source instanceof Response) {
    if (!source.ok) {
      throw new Error(`${source.url}: ${source.status} ${source.statusText}`);
    }
    source = await source.arrayBuffer();
  }
  return new CoreMD(await WebAssembly.compile(source));
}
