#!/usr/bin/env bash
# How does the manual become a site?  Builds docs/ with warnings as errors, then follows every link in it.
#
#     scripts/docs.sh [directory]        default: build/docs
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
site=${1:-$root/build/docs}
mkdocs build --strict --clean --config-file "$root/mkdocs.yml" --site-dir "$site"
"$root/scripts/check-site.py" "$site"
echo "docs: $(find "$site" -name '*.html' ! -name 404.html ! -name search.html | wc -l) pages in $site/index.html"
