// Do imports run down only, and never in a circle?  From a page to its parts, to the model, to texts and colours.
import assert from "node:assert";
import { readdirSync, readFileSync } from "node:fs";
import path from "node:path";
import test from "node:test";
import { fileURLToPath } from "node:url";

const web = fileURLToPath(new URL("../../web", import.meta.url));
const pages = ["detect/", "report/", "zones/"];
const outside = ["../wasm/package/detector.js"];                // stands on nothing
const base = ["clock.js", "colours.js", "elements.js", "texts.js"];

function modulesIn(folder) {
  return readdirSync(path.join(web, folder), { withFileTypes: true }).flatMap((entry) => {
    const name = path.join(folder, entry.name);
    return entry.isDirectory() ? modulesIn(name) : name.endsWith(".js") ? [name] : [];
  });
}

const imports = new Map(modulesIn("").map((module) => {
  const text = readFileSync(path.join(web, module), "utf8");
  const found = [...text.matchAll(/^import [^;]* from "(\..*)";$/gm)];
  return [module, found.map((one) => path.join(path.dirname(module), one[1]))];
}));
outside.forEach((module) => imports.set(module, []));

function levelOf(module) {
  return module.startsWith("model/") || module.startsWith("zones/model/") ? 1
    : pages.some((page) => module.startsWith(page)) ? 3 : [...base, ...outside].includes(module) ? 0 : 2;
}

function circleFrom(module, way = []) {
  return way.includes(module) ? [...way, module].join(" > ")
    : imports.get(module).map((next) => circleFrom(next, [...way, module])).find(Boolean);
}

test("every import is found here", () => {
  assert.ok(imports.size > 20);
  for (const [module, wanted] of imports) {
    const text = readFileSync(path.join(web, module), "utf8");
    assert.equal((text.match(/\bimport\b/g) || []).length, wanted.length, module);
    assert.match(text, /^\/\/ .*\?/, module + " opens with its question");
  }
});

test("no import leads up", () => {
  for (const [module, wanted] of imports) {
    for (const other of wanted) {
      assert.ok(levelOf(other) <= levelOf(module), module + " imports " + other);
    }
  }
});

test("a page is no part of another", () => {
  for (const [module, wanted] of imports) {
    const page = pages.find((one) => module.startsWith(one));
    assert.deepEqual(wanted.filter((other) => pages.some((one) => one !== page && other.startsWith(one))), [], module);
  }
});

test("no imports form a circle", () => {
  for (const module of imports.keys()) {
    assert.equal(circleFrom(module), undefined);
  }
});

test("every module is part of a page", () => {
  const reached = new Set();
  const reach = (module) => { if (!reached.has(module)) { reached.add(module); imports.get(module).forEach(reach); } };
  pages.forEach((page) => reach(page + "main.js"));
  assert.deepEqual([...imports.keys()].filter((module) => !reached.has(module)), []);
});

test("nothing reaches for the window", () => {
  for (const module of imports.keys()) {
    assert.doesNotMatch(readFileSync(path.join(web, module), "utf8"), /\b(window|globalThis)\b[.[]/, module);
  }
});

// Debian 12 has Node 18, which lacks these, as browsers of its age do: whoever has a newer one would not notice.
test("nothing younger than Node 18 is called", () => {
  for (const module of imports.keys()) {
    const text = readFileSync(path.join(web, module), "utf8");
    assert.doesNotMatch(text, /\.(toSpliced|toSorted|toReversed|isSubsetOf|isSupersetOf|union|difference)\(/, module);
    assert.doesNotMatch(text, /\b(Object|Map)\.groupBy\b|\bArray\.fromAsync\b|\bPromise\.withResolvers\b/, module);
  }
});
