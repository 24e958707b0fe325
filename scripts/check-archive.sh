#!/usr/bin/env bash
# Does an archive's work survive a thousand killed workers, with nothing lost and nothing twice?
# usage: scripts/check-archive.sh [KILLS [BUILD]]     1000 kills, and half as many in a farm; build/release; 20 minutes
#
# Eight workers share jobs that wait; every 0.3 s one of them is killed, stopped for a while or interrupted, and another
# one started in its place. In a farm, connections are cut and the server is killed, too. Results are compared byte for byte
# with those of one worker. Without a PostgreSQL server, that part says so.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(realpath "${2:-$root/build/release}")
kills=${1:-1000}
export COREMD_CHAOS_WORKERS=8 COREMD_CHAOS_EVERY_MS=300
COREMD_CHAOS_KILLS=$kills COREMD_CHAOS_JOBS=400 COREMD_CHAOS_MS=150 "$build/ArchiveChaosTest" --gtest_brief=1
if [[ -x $build/FarmChaosTest ]]; then
    COREMD_CHAOS_KILLS=$((kills / 2)) COREMD_CHAOS_JOBS=2000 COREMD_CHAOS_MS=60 "$build/FarmChaosTest" --gtest_brief=1
fi
