#!/bin/bash
# Runs clang-tidy over sources. Usage: tidy.sh [BASE]
# With a base commit over the sources changed since then; a changed header or build file stands for all
# sources that may depend on it. Without one over all.
set -euo pipefail
cd "$(dirname "$0")/.."
base=${1:-}

all_sources() { find src tests bench -name '*.cpp' -not -path 'tests/fuzz/*' | sort; }

# The sources to look at: those changed, and those that include a changed header, directly or not.
changed_sources() {
  local changed
  changed=$(git diff --name-only "$base" -- src tests bench .clang-tidy)
  if grep -q -e 'CMakeLists.txt' -e '.clang-tidy' <<<"$changed"; then
    all_sources
    return
  fi
  local headers grown
  headers=$(grep '\.h$' <<<"$changed" || true)
  while [ -n "$headers" ]; do
    grown=$( (echo "$headers"; includers "$headers" | grep '\.h$' || true) | sort -u)
    [ "$grown" = "$headers" ] && break
    headers=$grown
  done
  { echo "$changed"; [ -z "$headers" ] || includers "$headers"; } | sort -u | grep -Fxf <(all_sources) || true
}

# The files that include one of the headers.
includers() {
  local names
  names=$(sed -E 's#^src/##; s#^tests/##; s#.*#include "&"#' <<<"$1")
  grep -rlF "$names" src tests bench --include='*.h' --include='*.cpp' || true
}

cmake --preset tidy >/dev/null
if [ -n "$base" ]; then
  sources=$(changed_sources)
else
  sources=$(all_sources)
fi
[ -n "$sources" ] || { echo "tidy: nothing changed"; exit 0; }
echo "tidy: $(wc -l <<<"$sources") sources"
xargs -P 2 -n 4 clang-tidy --quiet -p build/tidy <<<"$sources"
echo "tidy: clean"
