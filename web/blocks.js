// What was written into this page beside its markup?  Blocks of JSON by mdscan, each in a script element named after what it
// holds; bytes, in one with this id.
export function takeBlocks(kind) {
  return Array.from(document.querySelectorAll("script." + kind), (block) => {
    const content = JSON.parse(block.textContent);
    block.remove();                                          // the text is not needed twice
    return content;
  });
}

export function bytesOf(id) {
  return Uint8Array.from(atob(document.getElementById(id).textContent), (letter) => letter.charCodeAt(0));
}
