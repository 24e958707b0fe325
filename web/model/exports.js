// How do events look in a spreadsheet, and to other programs?  Named as the fields of mdscan's lines.
const columns = ["file", "camera", "event", "start", "end", "peak", "start_time", "end_time", "blocks", "flash", "zones", "x",
                 "y", "w", "h", "clip", "mark"];

function fieldsOf(event) {
  const { input, start, end, boxes } = event, [box] = boxes;
  const timeOf = (time) => input.begin === null ? undefined
    : new Date(Math.round((input.begin + time) * 1000)).toISOString();
  return {
    file: input.file, camera: input.camera, event: event.event, start, end, peak: event.peak, start_time: timeOf(start),
    end_time: timeOf(end), blocks: event.blocks, flash: event.flash, zones: event.zones, x: box?.[0], y: box?.[1],
    w: box?.[2], h: box?.[3], clip: event.clip, mark: event.mark || undefined,
  };
}

// Quoted where RFC 4180 wants it; an apostrophe stands before what a spreadsheet would take for a formula.
export function tableCell(value) {
  const text = Array.isArray(value) ? value.join(";") : String(value ?? "");
  const safe = typeof value !== "number" && /^[=+\-@\t\r]/.test(text) ? "'" + text : text;
  return /[",\r\n]/.test(safe) ? '"' + safe.replaceAll('"', '""') + '"' : safe;
}

export function eventTable(events) {
  const rows = events.map(fieldsOf).map((fields) => columns.map((column) => tableCell(fields[column])).join(","));
  return [columns.join(","), ...rows, ""].join("\r\n");
}

export function eventJson(events) {
  return "[" + events.map((event) => "\n" + JSON.stringify({ type: "event", ...fieldsOf(event) })).join(",") + "\n]\n";
}
