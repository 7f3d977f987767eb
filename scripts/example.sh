#!/bin/sh
# Builds qvr-batch, runs it on a copy of examples/quickstart and shows the result table. Needs a Debian 12
# and installs what it lacks.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/example
folder=$build/quickstart

"$root/scripts/install_packages.sh" cmake make g++ libexpat1-dev

echo "Building qvr-batch in $build"
mkdir -p "$build"
if ! (cd "$root" && cmake --preset release -B "$build" -DQVR_TESTS=OFF -DQVR_BENCH=OFF -DQVR_COMMAND=OFF &&
  cmake --build "$build" --target qvr-batch --parallel 2) >"$build/build.log" 2>&1; then
  cat "$build/build.log" >&2
  exit 1
fi

rm -rf "$folder"
cp -r "$root/examples/quickstart" "$folder"
echo "Running qvr-batch in $folder"
(cd "$folder" && "$build/src/app/qvr-batch")
"$root/scripts/show_results.sh" "$folder"
