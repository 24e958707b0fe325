#!/usr/bin/env bash
# Does systemd understand the unit of workers, does it take from them what they do not need, and leave them what they do?
set -euo pipefail
deploy=$1 mdscan=$2
fail() {
    echo "FAILED: $*" >&2
    exit 1
}
command -v systemd-analyze >/dev/null || { echo "SKIPPED: there is no systemd-analyze here" && exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

unit=$work/mdscan-worker@march.service
sed "s#/usr/bin/mdscan#$mdscan#" "$deploy/mdscan-worker@.service" >"$unit"
said=$(SYSTEMD_LOG_LEVEL=warning systemd-analyze verify --man=no "$unit" 2>&1) || fail "verify: $said"
! grep -F "mdscan-worker" <<<"$said" || fail "systemd has something to say"

# Out of 100, where less is better; what a network and a view of the machine's files cost stays.
most=12
exposed=$(systemd-analyze security --offline=true --threshold=$most --no-pager "$unit" 2>&1) || fail "security: $exposed"
# And the measure measures: without its last paragraphs the same unit is none to be proud of.
sed '/^DynamicUser=/,/^SystemCallErrorNumber=/d' "$unit" >"$work/mdscan-worker@bare.service"
! systemd-analyze security --offline=true --threshold=$most --no-pager "$work/mdscan-worker@bare.service" >/dev/null 2>&1 ||
    fail "any unit passes"
grep -i 'overall exposure' <<<"$exposed"
