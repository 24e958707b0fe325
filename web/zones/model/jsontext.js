// Where do values stand in a JSON text, and how is one exchanged without touching the others?  The text is sound: it was
// parsed before. Places count from its beginning.
const isSpace = (character) => character === " " || character === "\n" || character === "\r" || character === "\t";

function pastSpace(text, at) {
  while (isSpace(text[at])) {
    ++at;
  }
  return at;
}

function endOfString(text, at) {
  for (++at; text[at] !== "\""; ++at) {
    at += text[at] === "\\";
  }
  return at + 1;
}

// The place behind the value that begins at this one.
function endOfValue(text, at) {
  if (text[at] !== "{" && text[at] !== "[") {
    const rest = text.slice(at).search(/[\s,\]}]/);
    return text[at] === "\"" ? endOfString(text, at) : rest < 0 ? text.length : at + rest;
  }
  for (let depth = 0; ;) {
    if (text[at] === "\"") {
      at = endOfString(text, at);
      continue;
    }
    depth += "{[".includes(text[at]) - "}]".includes(text[at]);
    ++at;
    if (!depth) {
      return at;
    }
  }
}

// Of the list or object that begins at this place: read takes a place, and gives what stands there and its end.
function partsOf(text, at, read) {
  const parts = [];
  for (at = pastSpace(text, at + 1); text[at] !== "]" && text[at] !== "}"; at = pastSpace(text, at)) {
    at = text[at] === "," ? pastSpace(text, at + 1) : at;
    parts.push(read(at));
    at = parts.at(-1).end;
  }
  return parts;
}

// { start, end } of each.
export function elementsOf(text, at = pastSpace(text, 0)) {
  return partsOf(text, at, (start) => ({ start, end: endOfValue(text, start) }));
}

// { key, from, start, end } of each: from is where the key begins, start where its value does.
export function membersOf(text, at = pastSpace(text, 0)) {
  return partsOf(text, at, (from) => {
    const keyEnd = endOfString(text, from), start = pastSpace(text, pastSpace(text, keyEnd) + 1);
    return { key: JSON.parse(text.slice(from, keyEnd)), from, keyEnd, start, end: endOfValue(text, start) };
  });
}

function without(text, members, place) {
  const [before, here, after] = [members[place - 1], members[place], members[place + 1]];
  return before ? text.slice(0, before.end) + text.slice(here.end)
    : text.slice(0, here.from) + text.slice(after ? after.from : here.end);
}

// Written as the members before it are.
function withAnother(text, members, key, value) {
  const last = members.at(-1);
  if (!last) {
    return "{" + JSON.stringify(key) + ": " + value + "}";
  }
  const colon = text.slice(last.keyEnd, last.start), before = members.at(-2);
  const comma = before ? text.slice(before.end, last.from) : colon.endsWith(" ") ? ", " : ",";
  return text.slice(0, last.end) + comma + JSON.stringify(key) + colon + value + text.slice(last.end);
}

// The text of an object whose key has that value, as text; null: none.
export function withMember(text, key, value) {
  const members = membersOf(text), place = members.findIndex((member) => member.key === key);
  if (place < 0) {
    return value === null ? text : withAnother(text, members, key, value);
  }
  return value === null ? without(text, members, place)
    : text.slice(0, members[place].start) + value + text.slice(members[place].end);
}

// The text of a list of these values, which are numbers or lists of them. old: the text of a list before; values that it
// holds, too, are written as there.
export function listText(old, values) {
  const known = new Map(), parts = elementsOf(old);
  for (const { start, end } of parts) {
    known.set(JSON.stringify(JSON.parse(old.slice(start, end))), old.slice(start, end));
  }
  const comma = parts.length > 1 ? old.slice(parts[0].end, parts[1].start) : ", ";
  const [head, tail] = parts.length ? [old.slice(0, parts[0].start), old.slice(parts.at(-1).end)] : ["[", "]"];
  const written = (value) => known.get(JSON.stringify(value)) ||
    (/\s/.test(old) ? JSON.stringify(value).replaceAll(",", ", ") : JSON.stringify(value));
  return head + values.map(written).join(comma) + tail;
}
