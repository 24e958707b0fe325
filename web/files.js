// How does a page give a file to the viewer?
import { make } from "./elements.js";

const longestFetch = 60000;                                  // milliseconds: some browsers ask before they take it

// content: text or bytes.
export function offer(name, type, content) {
  const link = make("a"), address = URL.createObjectURL(new Blob([content], { type }));
  link.href = address;
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(address), longestFetch);
}
