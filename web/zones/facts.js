// What does mdscan say of the video?  Its picture, the grid, and what zones that say nothing are looked at by.
import { takeBlocks } from "../blocks.js";

const told = takeBlocks("facts")[0];

export const video = told.video;
export const aspect = told.aspect;                           // of the picture as it is to be seen, width by height
export const grid = told.grid;                               // { width, height, block } in pixels, { columns, rows } of blocks
export const minSize = told.min_size, maxSize = told.max_size;
export const masks = Object.fromEntries(Object.entries(told.masks).map(([name, blocks]) => [name,
  Uint8Array.from(blocks, Number)]));                        // [block] 1 where it is covered, by the name of the mask's file
export const facts = { grid, masks, minSize, maxSize };
