// Which time does somebody mean who types this?  A month, a day, an hour, a minute or a second, as a clock shows it.
const forms = [
  /^(?<year>\d{4})[-/.](?<month>\d\d?)(?:[-/.](?<day>\d\d?))?(?:(?:T| +|_)(?<rest>.+))?$/i,
  /^(?<day>\d\d?)\.(?<month>\d\d?)\.(?<year>\d{4})(?: +(?<rest>.+))?$/,
  /^(?<year>\d{4})(?<month>\d\d)(?<day>\d\d)(?:[T_ -]?(?<rest>\d+))?$/i,
  /^(?<rest>\d\d?[:h].*)$/,
];
const timeOfDay = /^(?<hour>\d\d?)(?:[:.h-]?(?<minute>\d\d)(?:[:.m-]?(?<second>\d\d))?)?[hs]?$/;
const lengths = { hour: 3600, minute: 60, second: 1 };

function daySpan(year, month, day) {
  const begin = new Date(Date.UTC(year, month - 1, day || 1)), end = new Date(begin);
  if (year < 1970 || begin.getUTCMonth() !== month - 1 || (day && begin.getUTCDate() !== day)) {
    return null;
  }
  day ? end.setUTCDate(day + 1) : end.setUTCMonth(month);
  return { from: begin / 1000, to: end / 1000 };
}

// shown: what the clock shows at the time in view, for whoever types no day. null: that is no time.
export function spanTyped(text, shown) {
  const found = forms.map((form) => form.exec(text.trim())).find(Boolean);
  if (!found) {
    return null;
  }
  const { year, month, day, rest } = found.groups, today = new Date(shown * 1000);
  const whole = year ? daySpan(Number(year), Number(month), Number(day))
    : daySpan(today.getUTCFullYear(), today.getUTCMonth() + 1, today.getUTCDate());
  if (!whole || !rest) {
    return whole;
  }
  const time = timeOfDay.exec(rest);
  if (!time || (year && !day)) {
    return null;
  }
  const [hour, minute, second] = ["hour", "minute", "second"].map((name) => Number(time.groups[name] || 0));
  const finest = ["second", "minute", "hour"].find((name) => time.groups[name]);
  const from = whole.from + 3600 * hour + 60 * minute + second;
  return hour < 24 && minute < 60 && second < 60 ? { from, to: from + lengths[finest] } : null;
}
