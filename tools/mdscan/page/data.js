// What is in this page?  The blocks that mdscan wrote, as inputs, events and gaps.
function blocks(kind) {
  return Array.from(document.querySelectorAll("script." + kind), (block) => {
    const content = JSON.parse(block.textContent);
    block.remove();                                          // the text is not needed twice
    return content;
  });
}

const scan = blocks("scan")[0], inputs = blocks("input"), cameras = blocks("camera"), theEnd = blocks("end")[0];
const events = [], gaps = [];

for (const input of inputs) {
  input.begin = input.start_time ? Date.parse(input.start_time) / 1000 : null;     // seconds since 1970
  for (const line of input.lines) {
    line.input = input;
    (line.type === "event" ? events : gaps).push(line);
    if (input.begin === null && line.start_time) {
      input.begin = Date.parse(line.start_time) / 1000 - line.start;
    }
  }
  input.lines = null;
}
const withClock = inputs.filter((input) => input.begin !== null);
const allHaveClock = withClock.length > 0 && inputs.every((input) => input.begin !== null || input.seconds === 0);
// Told apart by people who do not tell red from green, on light and on dark.
const palette = ["#3b82d8", "#e08a00", "#0f9d78", "#c965a5", "#c9a400", "#2fa8c9", "#d0552b", "#7a6fd0"];

function zoneColor(name) {
  const index = scan.zones.indexOf(name);
  return index < 0 ? null : palette[index % palette.length];
}

// The colours of an event as bits, the first for what lies in no zone, then one for each of the palette.
function colorBits(zones) {
  return (zones || []).reduce((bits, name) => bits | 2 << palette.indexOf(zoneColor(name)), 0) || 1;
}

for (const event of events) {
  event.colors = colorBits(event.zones);
  event.length = event.end - event.start;
  event.searched = [event.input.file, ...(event.zones || [])].join("\n").toLowerCase();
}

function make(tag, text, name) {
  const element = document.createElement(tag);
  element.textContent = text || "";                          // never markup: names of files may hold anything
  if (name) {
    element.className = name;
  }
  return element;
}

function byId(id) {
  return document.getElementById(id);
}

const two = (number) => String(number).padStart(2, "0");

// 75.25 as 1:15.3, longer ones as 2:01:15
function secondsText(seconds, precise) {
  const whole = Math.floor(seconds), hours = Math.floor(whole / 3600), minutes = Math.floor(whole / 60) % 60;
  const rest = precise && hours === 0 ? (Math.floor(seconds * 10) / 10 % 60).toFixed(1).padStart(4, "0") : two(whole % 60);
  return hours > 0 ? hours + ":" + two(minutes) + ":" + rest : minutes + ":" + rest;
}

function clockText(seconds, precise) {
  const time = new Date(seconds * 1000);
  return two(time.getHours()) + ":" + two(time.getMinutes()) + ":" + two(time.getSeconds()) +
         (precise ? "." + Math.floor(seconds * 10) % 10 : "");
}

function dateText(seconds) {
  const time = new Date(seconds * 1000);
  return time.getFullYear() + "-" + two(time.getMonth() + 1) + "-" + two(time.getDate());
}

function eventTime(event) {
  const time = event.input.begin + event.start;
  return event.input.begin === null ? secondsText(event.start, true) : dateText(time) + " " + clockText(time);
}

function lengthText(seconds) {
  return seconds < 60 ? seconds.toFixed(1) + " s" : secondsText(seconds, false) + " min";
}

function baseName(path) {
  return path.slice(path.replace(/\/+$/, "").lastIndexOf("/") + 1) || path;
}
