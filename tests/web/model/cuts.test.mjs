// Does the script cut what it says out of files of any name, and run nothing else?
import assert from "node:assert";
import { execFileSync, spawnSync } from "node:child_process";
import { chmodSync, existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import path from "node:path";
import test from "node:test";

import { cutScript } from "../../../web/model/cuts.js";

// Bytes of a name as the page has them.
function linkOf(name) {
  return [...Buffer.from(name, "latin1")].map((byte) => /[A-Za-z0-9._~/-]/.test(String.fromCharCode(byte))
    ? String.fromCharCode(byte) : "%" + byte.toString(16).padStart(2, "0").toUpperCase()).join("");
}

const names = ["plain.mp4", "-rf.mp4", "cam/-n.mp4", "a'b.mp4", "'; touch pwned; '.mp4", "$(touch pwned).mp4",
               "`touch pwned`.mp4", "two\nlines\n.mp4", "line\n# end.avi", "a\\b.mp4", "100%.mp4",
               "%41.mp4", "\xe9\xff.mp4", "a:b.mp4", " .mp4 ",
               "*.mp4", "../up.mp4", "con\"cat.ts", "\x01\x7f.mp4"];
const eventOf = (name, i) => ({ input: { file: name, link: linkOf(name) }, start: 3 * i + 0.5, length: 2.25 });

function within(act) {
  const folder = mkdtempSync(path.join(tmpdir(), "cuts"));
  try {
    act(folder);
  } finally {
    rmSync(folder, { recursive: true });
  }
}

test("every name reaches ffmpeg as it is, in one argument", () => within((folder) => {
  const stub = path.join(folder, "bin", "ffmpeg"), log = path.join(folder, "log");
  mkdirSync(path.join(folder, "bin"));
  mkdirSync(path.join(folder, "it's -odd"));
  writeFileSync(stub, '#!/bin/sh\nprintf "%s\\0" "$@" END >> "$LOG"\n');
  chmodSync(stub, 0o755);
  const { script, without } = cutScript([...names.map(eventOf),
    { input: { file: "rtsp://x", link: "" }, start: 1, length: 1 },
    { input: { file: "-", link: "" }, link: "clips/-1.mp4", at: 1.5, start: 70, length: 2 }], linkOf("/re c/'q'"));
  assert.equal(without, 1);
  const file = path.join(folder, "it's -odd", "cuts.sh"), cwd = path.dirname(file);
  writeFileSync(file, script);
  execFileSync("sh", ["-n", file]);
  const env = { PATH: path.dirname(stub) + ":/usr/bin:/bin", LOG: log };
  const run = spawnSync("sh", ["./cuts.sh"], { cwd, env });
  assert.deepEqual([run.status, run.stderr.toString()], [0, ""]);
  assert.deepEqual(readdirSync(cwd).sort(), ["cuts", "cuts.sh"], "nothing else was run");
  const calls = readFileSync(log, "latin1").split("END\0").slice(0, -1).map((call) => call.split("\0").slice(0, -1));
  assert.equal(calls.length, names.length + 1);
  const after = (call, option) => call[call.indexOf(option) + 1];
  names.forEach((name, i) => {
    assert.equal(after(calls[i], "-i"), "file:/re c/'q'/" + name);
    assert.equal(after(calls[i], "-ss"), (3 * i + 0.5).toFixed(3));
    assert.equal(after(calls[i], "-t"), "2.250");
    assert.match(calls[i].at(-1), /^file:cuts\/\d{4}_[A-Za-z0-9.-]*_\d+s\.(mp4|mkv)$/);
    assert.ok(calls[i].at(-1).startsWith("file:cuts/" + String(i + 1).padStart(4, "0")));
  });
  assert.deepEqual([after(calls.at(-1), "-i"), after(calls.at(-1), "-ss")], ["file:/re c/'q'/clips/-1.mp4", "1.500"]);
  assert.equal(new Set(calls.map((call) => call.at(-1))).size, calls.length, "none overwrites another");
  const elsewhere = spawnSync("sh", ["./cuts.sh", "-from", "-to"], { cwd, env });
  assert.equal(elsewhere.status, 0);
  assert.ok(existsSync(path.join(cwd, "-to")));
  assert.ok(readFileSync(log, "latin1").includes("file:-from/plain.mp4\0"));
}));

test("a cut that is broken off is not taken for a whole one", () => within((folder) => {
  const stub = path.join(folder, "ffmpeg"), run = () => spawnSync("sh", ["cuts.sh"], { cwd: folder, env });
  const env = { PATH: folder + ":/usr/bin:/bin" };
  writeFileSync(path.join(folder, "cuts.sh"), cutScript(["a.mp4", "b.mp4"].map(eventOf), "").script);
  for (const [signal, status] of [["", 0], ["INT", 130], ["TERM", 130]]) {
    writeFileSync(stub, `#!/bin/sh
      for out; do :; done
      case $out in *0002*) [ -z "${signal}" ] || { : > "\${out#file:}"; kill -s ${signal} $PPID; };; *) : > "\${out#file:}";; esac
    `);
    chmodSync(stub, 0o755);
    rmSync(path.join(folder, "cuts"), { recursive: true, force: true });
    assert.equal(run().status, status, signal);
    assert.deepEqual(readdirSync(path.join(folder, "cuts")), ["0001_a_0s.mp4"], "none is half there");
  }
}));

test("ffmpeg cuts, and the script tells what it could not", (context) => {
  if (spawnSync("ffmpeg", ["-version"]).status !== 0) {
    context.skip("ffmpeg is not installed");
    return;
  }
  within((folder) => {
    const odd = names.filter((name) => !/^cam|^\.\.|avi$|ts$/.test(name)), made = path.join(folder, "made.mp4");
    execFileSync("ffmpeg", ["-v", "error", "-f", "lavfi", "-i", "testsrc=d=4:r=10:s=64x48", "-c:v", "mpeg4", "-g", "5",
                            made]);
    for (const name of odd) {
      writeFileSync(Buffer.from(path.join(folder, name), "latin1"), readFileSync(made));
    }
    const { script } = cutScript([...odd.map((name) => ({ ...eventOf(name, 0), start: 1.5, length: 1 })),
                                  { input: { file: "gone.mp4", link: "gone.mp4" }, start: 1, length: 1 }], "");
    writeFileSync(path.join(folder, "cuts.sh"), script);
    const run = spawnSync("sh", ["cuts.sh"], { cwd: folder });
    assert.equal(run.status, 1);
    assert.match(run.stderr.toString(), /gone\.mp4: No such file[^]*\ncuts that failed: 1\n$/);
    const results = readdirSync(path.join(folder, "cuts"));
    assert.equal(results.length, odd.length, "of what failed nothing is left");
    assert.ok(!existsSync(path.join(folder, "pwned")));
    for (const result of results) {
      const probe = execFileSync("ffprobe", ["-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0",
                                             path.join(folder, "cuts", result)]);
      assert.ok(Math.abs(Number(probe) - 1) < 0.2, result + ": " + probe);
    }
  });
});
