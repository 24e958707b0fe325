// What does a zone file hold?  Its text, cut into zones and what stands around them, so that what nobody changes is written
// as it was read. Files and zones are values: a change makes others.
import { elementsOf, listText, membersOf, withMember } from "./jsontext.js";

// Before, between and behind zones where no file says otherwise.
const plain = { head: "{\"zones\": [\n  ", comma: ",\n  ", tail: "\n]}\n" };
const mark = "\ufeff";                                       // of UTF-8, before the text of some
let zonesMade = 0;

// id: stays with a zone through its changes. comma: what stands between it and the one before; null: it is the first.
function zoneOf(text, comma) {
  return { id: ++zonesMade, text, comma, value: JSON.parse(text) };
}

export function noZones() {
  return { head: plain.head, zones: [], tail: plain.tail };
}

function isObject(value) {
  return typeof value === "object" && value !== null && !Array.isArray(value);
}

// Throws an Error that tells why it is no file of zones. Whether these are as mdscan wants them, others ask.
export function readZones(text) {
  const start = text.startsWith(mark) ? mark.length : 0, sound = text.slice(start);
  const root = JSON.parse(sound);
  if (!isObject(root) || !Array.isArray(root.zones)) {
    throw new Error("it has no list of zones");
  }
  const members = membersOf(sound), list = members.filter((member) => member.key === "zones");
  if (members.length > 1) {
    throw new Error(list.length > 1 ? "\"zones\" is given twice" : "it has more than \"zones\"");
  }
  const parts = elementsOf(sound, list[0].start);
  const wrong = root.zones.findIndex((value) => !isObject(value));
  if (wrong >= 0) {
    throw new Error("zones[" + wrong + "] is no object");
  }
  if (!parts.length) {
    return noZones();
  }
  const zones = parts.map((part, i) => zoneOf(sound.slice(part.start, part.end),
                                              i ? sound.slice(parts[i - 1].end, part.start) : null));
  return { head: text.slice(0, start + parts[0].start), zones, tail: sound.slice(parts.at(-1).end) };
}

export function textOf({ head, zones, tail }) {
  return head + zones.map((zone, i) => (i ? zone.comma : "") + zone.text).join("") + tail;
}

// What stands between zones here.
function commaOf({ head, zones }) {
  const known = zones.find((zone) => zone.comma), space = /\s*$/.exec(head)[0];
  return known ? known.comma : "," + (space || (/\s/.test(head) ? " " : ""));
}

export function withZone(file, name, polygon) {
  const comma = commaOf(file);
  const text = comma.length > 1 ? "{\"name\": " + JSON.stringify(name) + ", \"polygon\": " + listText("[ ]", polygon) + "}"
    : JSON.stringify({ name, polygon });
  return { ...file, zones: [...file.zones, zoneOf(text, comma)] };
}

export function withoutZone(file, id) {
  return { ...file, zones: file.zones.filter((zone) => zone.id !== id) };
}

function changed(file, id, textOfZone) {
  return { ...file, zones: file.zones.map((zone) => {
    const text = zone.id === id ? textOfZone(zone) : zone.text;
    return text === zone.text ? zone : { ...zone, text, value: JSON.parse(text) };
  }) };
}

// value: undefined takes the key away.
export function withValue(file, id, key, value) {
  return changed(file, id, ({ text }) => withMember(text, key, value === undefined ? null : JSON.stringify(value)));
}

export function withPolygon(file, id, polygon) {
  return changed(file, id, ({ text }) => {
    const member = membersOf(text).find((one) => one.key === "polygon");
    return withMember(text, "polygon", listText(text.slice(member.start, member.end), polygon));
  });
}

// An excluded zone has no sizes.
export function withExclusion(file, id, exclude) {
  const gone = exclude ? ["min_size", "max_size"] : [];
  return gone.reduce((next, key) => withValue(next, id, key), withValue(file, id, "exclude", exclude || undefined));
}

// The corners where they can be drawn; null where they cannot.
export function cornersOf({ value: { polygon } }) {
  const isCorner = (corner) => Array.isArray(corner) && corner.length === 2 && corner.every(Number.isFinite);
  return Array.isArray(polygon) && polygon.every(isCorner) ? polygon : null;
}

export function freeName(zones) {
  const names = new Set(zones.map((zone) => zone.value.name));
  for (let number = 1; ; ++number) {
    if (!names.has("zone " + number)) {
      return "zone " + number;
    }
  }
}
