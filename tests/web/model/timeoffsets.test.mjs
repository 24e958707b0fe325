// Does the place's clock go by what its recordings say?
import assert from "node:assert";
import test from "node:test";

import { offsetsOf } from "../../../web/model/timeoffsets.js";

test("the last that began by then knows, before all the first does", () => {
  const offsetAt = offsetsOf([{ begin: 300, utc_offset: 7200 }, { begin: 100, utc_offset: 3600 }, { begin: null },
    { begin: 200, utc_offset: 3600 }, { begin: 400 }]);
  assert.deepEqual([0, 100, 299, 300, 9000].map(offsetAt), [3600, 3600, 3600, 7200, 7200]);
});

test("where nobody says it, it is not known", () => {
  assert.equal(offsetsOf([{ begin: 5 }, { begin: null, utc_offset: 60 }]), null);
  assert.equal(offsetsOf([]), null);
});
