// What does the viewer say of events, and how does that travel?  An event has one mark or none, and a key by which it is
// known on every page that shows it.
export const verdicts = ["seen", "keep", "false"];

const kind = "marks of events", version = 1;

export function keyOf(event) {
  return event.input.file + "@" + event.start;
}

// marks: by key.
export function markText(marks) {
  return JSON.stringify({ mdscan: kind, version, marks: Object.fromEntries(marks) }) + "\n";
}

// The marks by key, or why there are none: a text that is not whole is not taken in part.
export function marksOf(text) {
  let content;
  try {
    content = JSON.parse(text);
  } catch {
    return { trouble: "is damaged, or no file of marks" };
  }
  if (!content || content.mdscan !== kind || !content.marks || typeof content.marks !== "object") {
    return { trouble: "is no file of marks" };
  }
  if (content.version !== version) {
    return { trouble: "is of another version of mdscan" };
  }
  const marks = new Map(Object.entries(content.marks));
  const odd = [...marks].find(([, mark]) => !verdicts.includes(mark));
  return odd ? { trouble: "is damaged: " + odd[0] + " is marked " + JSON.stringify(odd[1]) } : { marks };
}
