// Which colours mark the zones of an event, and the conditions of pictures?
// Told apart by people who do not tell red from green, on light and on dark.
export const palette = ["#3b82d8", "#e08a00", "#0f9d78", "#c965a5", "#c9a400", "#2fa8c9", "#d0552b", "#7a6fd0"];

function paletteIndex(zones, name) {
  const index = zones.indexOf(name);
  return index < 0 ? -1 : index % palette.length;
}

// zones: the names of all. null: it is none of them.
export function zoneColour(zones, name) {
  return palette[paletteIndex(zones, name)] || null;
}

// The colours of an event as bits: the first for what lies in no zone, then one for each of the palette.
export function colourBits(zones, names) {
  return (names || []).reduce((bits, name) => bits | 2 << paletteIndex(zones, name), 0) || 1;
}

// plain: the colour of what lies in no zone.
export function coloursOf(bits, plain) {
  return [plain, ...palette].filter((_, bit) => bits >> bit & 1);
}

// Of rows of their own, in the order in which they are listed. None is a zone's.
const conditionColours = {
  "light": "#b8860b", "infrared": "#b3418f", "shaking": "#8d5bd6", "moved": "#1b9186", "covered": "#a0704f",
  "frozen": "#3a8fcc", "rain-like": "#4f74d9", "too short": "#7f8c26", "too dark": "#7c8494",
};
export const conditionNames = Object.keys(conditionColours);

export function conditionColour(name) {
  return conditionColours[name];
}

// The colour of a condition as a bit.
export function conditionBit(name) {
  return 1 << conditionNames.indexOf(name);
}

export function conditionColoursOf(bits) {
  return Object.values(conditionColours).filter((_, bit) => bits >> bit & 1);
}
