// What are cameras called in few letters?  As many last parts of their folders or addresses as tell them apart.
const lastParts = (name, count) => name.replace(/\/+$/, "").split("/").slice(-count).join("/") || name;

// A map from each name to its short one. Two that are the same but for slashes in the end keep all they have.
export function shortNames(names) {
  const short = new Map();
  let left = [...new Set(names)];
  for (let count = 1; left.length; ++count) {
    const seen = new Map();
    for (const name of left) {
      const last = lastParts(name, count);
      seen.set(last, [...(seen.get(last) || []), name]);
    }
    left = [];
    for (const [last, bearers] of seen) {
      if (bearers.length === 1) {
        short.set(bearers[0], last);
      } else if (bearers.every((name) => lastParts(name, count + 1) === last)) {
        bearers.forEach((name) => short.set(name, name));
      } else {
        left.push(...bearers);
      }
    }
  }
  return short;
}
