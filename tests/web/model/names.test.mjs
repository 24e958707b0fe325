// Are short names as short as can be, and never the same for two cameras?
import assert from "node:assert";
import test from "node:test";

import { shortNames } from "../../../web/model/names.js";

const short = (...names) => { const map = shortNames(names); return names.map((name) => map.get(name)); };

test("the last part is enough where it is the only one", () => {
  assert.deepEqual(short("rec/gate", "rec/yard/", "rtsp://host/live", "-", "."), ["gate", "yard", "live", "-", "."]);
  assert.deepEqual(short("rec/gate", "rec/gate"), ["gate", "gate"], "one camera");
});

test("as many more as tell two apart", () => {
  assert.deepEqual(short("a/x/gate", "b/x/gate", "b/yard"), ["a/x/gate", "b/x/gate", "yard"]);
  assert.deepEqual(short("gate", "a/gate"), ["gate", "a/gate"]);
  assert.deepEqual(short("gate", "gate/"), ["gate", "gate/"]);
  assert.deepEqual(short("/", ""), ["/", ""]);
});

test("500 files of a recorder have a few", () => {
  const names = Array.from({ length: 500 }, (_, i) => "/nvr/recordings/cam" + i % 4);
  assert.deepEqual([...new Set(shortNames(names).values())].sort(), ["cam0", "cam1", "cam2", "cam3"]);
});
