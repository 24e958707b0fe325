#!/usr/bin/env bash
# Does an archive's work survive a thousand killed workers, with nothing lost and nothing twice?
# usage: scripts/check-archive.sh [KILLS [TEST]]     1000 kills, build/release/ArchiveChaosTest; ten minutes
#
# Eight workers share jobs that wait; every 0.3 s one of them is killed, stopped for a while or interrupted, and another one
# started in its place. Results are compared byte for byte with those of one worker.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
test=$(realpath "${2:-$root/build/release/ArchiveChaosTest}")
COREMD_CHAOS_KILLS=${1:-1000} COREMD_CHAOS_WORKERS=8 COREMD_CHAOS_JOBS=400 COREMD_CHAOS_MS=150 COREMD_CHAOS_EVERY_MS=300 \
    "$test" --gtest_brief=1
