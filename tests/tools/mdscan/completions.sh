#!/usr/bin/env bash
# Do shells complete what mdscan takes?  completions.sh PROJECT MDSCAN
set -euo pipefail
project=$1 mdscan=$2
fail() { echo "completions.sh: $*" >&2; exit 1; }

"$project/scripts/make-completions.py" --check "$mdscan"

compopt() { :; }    # only works while a completion is under way
source "$project/completions/mdscan.bash"
completed() {
    COMP_WORDS=(mdscan "$@") COMP_CWORD=$#
    _mdscan
    echo "${COMPREPLY[*]}"
}
[[ $(completed --thu) == --thumbnails ]] || fail "--thu becomes '$(completed --thu)'"
[[ $(completed --progress j) == json ]] || fail "--progress j becomes '$(completed --progress j)'"
[[ $(completed --stabilise o) == "on off" ]] || fail "--stabilise o becomes '$(completed --stabilise o)'"
[[ $(completed --condition d) == default ]] || fail "--condition d becomes '$(completed --condition d)'"
[[ $(completed --rate "") == "" ]] || fail "a number is completed"
[[ $(completed zon) == zones ]] || fail "zon becomes '$(completed zon)'"
[[ $(completed expl) == explain ]] || fail "expl becomes '$(completed expl)'"
[[ $(completed gath) == gather ]] || fail "gath becomes '$(completed gath)'"
[[ $(completed plan --roo) == --root ]] || fail "plan --roo becomes '$(completed plan --roo)'"
[[ $(completed explain --pi) == --pixel ]] || fail "explain --pi becomes '$(completed explain --pi)'"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
touch "$work/a video.mp4"
[[ $(completed --overlay b "$work/a") == "$work/a video.mp4" ]] || fail "a file is not completed"
for word in $("$mdscan" --help | grep -oE '^  -[^ ]+' | tr ',' '\n'); do
    [[ " $(completed -) " == *" $word "* ]] || fail "$word is missing"
done
if command -v zsh >/dev/null; then zsh -n "$project/completions/_mdscan"; fi
if command -v fish >/dev/null; then fish -n "$project/completions/mdscan.fish"; fi
