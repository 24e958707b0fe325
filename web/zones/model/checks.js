// What would mdscan say of these zones?  Errors make it refuse the file, warnings tell of zones that find nothing.
import { countOf, coveredBlocks, extentOf, hasRoom, withoutThese } from "./coverage.js";
import { countText } from "../../texts.js";
import { polygonTrouble } from "./geometry.js";
import { membersOf } from "./jsontext.js";
import { cornersOf } from "./zonefile.js";

const known = ["name", "polygon", "mask", "exclude", "min_size", "max_size"];
export const mostZones = 64;                                 // to watch

const isFraction = (value) => typeof value === "number" && value >= 0 && value <= 1;

function keyErrors({ text }) {
  const keys = membersOf(text).map((member) => member.key);
  const doubled = keys.filter((key, i) => keys.indexOf(key) < i), strange = keys.filter((key) => !known.includes(key));
  return [...doubled.map((key) => "\"" + key + "\" is given twice"), ...strange.map((key) => "unknown key \"" + key + "\"")];
}

function nameErrors({ id, value: { name } }, zones) {
  if (typeof name !== "string" || !name) {
    return ["has no name"];
  }
  return zones.some((other) => other.id !== id && other.value.name === name) ? ["another zone is called \"" + name + "\""] : [];
}

function sizeErrors({ value }) {
  const errors = [], sizes = { min_size: "smallest", max_size: "largest" };
  for (const [key, what] of Object.entries(sizes).filter((size) => size[0] in value)) {
    if (!isFraction(value[key])) {
      errors.push(what + " object: must be a number from 0 to 1");
    } else if (value.exclude === true) {
      errors.push(what + " object: has no meaning where nothing is watched");
    }
  }
  return !errors.length && value.max_size < value.min_size ? ["the largest object is smaller than the smallest"] : errors;
}

function shapeErrors(zone) {
  const { value } = zone, corners = cornersOf(zone);
  if ("polygon" in value === "mask" in value) {
    return ["must have either \"polygon\" or \"mask\""];
  }
  if ("mask" in value) {
    return typeof value.mask === "string" && !value.mask.includes("\0") ? [] : ["mask: must be the name of a PNG file"];
  }
  if (!corners || corners.length < 3) {
    return ["must be a polygon of at least three corners"];
  }
  const outside = corners.findIndex((corner) => !corner.every(isFraction));
  const trouble = outside >= 0 ? "corner [" + outside + "] lies outside the picture" : polygonTrouble(corners);
  return trouble ? [trouble] : [];
}

// zones: all of the file.
export function errorsOf(zone, zones) {
  const flag = "exclude" in zone.value && typeof zone.value.exclude !== "boolean" ? ["exclude: must be true or false"] : [];
  return [...keyErrors(zone), ...nameErrors(zone, zones), ...flag, ...sizeErrors(zone), ...shapeErrors(zone)];
}

// Of the file as a whole.
export function fileErrors(zones) {
  const watched = zones.filter((zone) => !zone.value.exclude).length;
  return !zones.length ? ["there is no zone"] : watched > mostZones ? ["more than " + mostZones + " zones to watch"] : [];
}

export function isSound(zones) {
  return !fileErrors(zones).length && zones.every((zone) => !errorsOf(zone, zones).length);
}

// Blocks of a zone, whatever else lies there; null where nobody knows. masks: of mask files, by their names.
const covered = new WeakMap();                               // by the parsed zone, which does not change
export function blocksOf({ value }, { grid, masks }) {
  if (!covered.has(value)) {
    const corners = cornersOf({ value });
    const isKnown = Object.hasOwn(masks, value.mask);        // a file may be called "constructor"
    covered.set(value, corners && corners.length > 2 ? coveredBlocks(corners, grid) : isKnown ? masks[value.mask] : null);
  }
  return covered.get(value);
}

// Blocks that are watched for it, or that it takes away.
export function effectOf(zone, zones, facts) {
  const blocks = blocksOf(zone, facts), excluded = zones.filter((other) => other.value.exclude === true);
  return !blocks || zone.value.exclude === true ? blocks
    : withoutThese(blocks, excluded.map((other) => blocksOf(other, facts)).filter(Boolean));
}

const extentText = ({ columns, rows }) => columns + " by " + rows;

// Why it can never find anything; empty: it can.
function idleness(zone, blocks, all, facts) {
  const [least, most] = [zone.value.min_size ?? facts.minSize, zone.value.max_size ?? facts.maxSize].map((size) =>
    extentOf(size, facts.grid));
  const count = countOf(blocks), covered = countOf(all);
  if (!covered) {
    return "it covers the centre of no block";
  }
  if (!count) {
    return "excluded " + (covered === 1 ? "is its only block" : "are all of its " + countText(covered, "block"));
  }
  if (Math.min(most.columns, most.rows) < 1) {
    return "the largest object that counts has " + extentText(most) + " blocks";
  }
  if (least.columns > most.columns || least.rows > most.rows) {
    return "the smallest object that counts has " + extentText(least) + " blocks, the largest " + extentText(most);
  }
  return hasRoom(blocks, facts.grid, least) ? "" : "its " + countText(count, "block") + (count === 1 ? " has" : " have") +
    " no room for " + extentText(least) + ", the smallest object that counts";
}

// facts: the grid, masks, and the { minSize, maxSize } of zones that state none.
export function warningsOf(zone, zones, facts) {
  const blocks = zone.value.exclude === true ? null : effectOf(zone, zones, facts);
  const why = blocks && idleness(zone, blocks, blocksOf(zone, facts), facts);
  return why ? ["it can never tell motion: " + why] : [];
}
