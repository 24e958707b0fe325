// What did mdscan write into this page?  Blocks of JSON, each in a script element named after what it holds.
export function takeBlocks(kind) {
  return Array.from(document.querySelectorAll("script." + kind), (block) => {
    const content = JSON.parse(block.textContent);
    block.remove();                                          // the text is not needed twice
    return content;
  });
}
