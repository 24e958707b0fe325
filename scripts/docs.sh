#!/usr/bin/env bash
# How does the manual become a site?  Builds docs/, and the reference from the installed headers, with warnings as errors,
# then follows every link in it.
#
#     scripts/docs.sh [directory]        default: build/docs
#
# scripts/collect-manuals.py puts the manuals of several versions side by side.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
site=${1:-$root/build/docs}
command -v doxygen >/dev/null || {
    echo "docs: doxygen is not installed; ./dev docs installs it" >&2
    exit 1
}
mkdocs build --strict --clean --config-file "$root/mkdocs.yml" --site-dir "$site"
"$root/scripts/check-site.py" "$site"
echo "docs: $(find "$site" -name '*.html' ! -name 404.html ! -name search.html | wc -l) pages in $site/index.html"
