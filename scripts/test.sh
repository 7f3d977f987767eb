#!/bin/sh
# Builds everything in release and runs every test. Needs a Debian 12 and installs what it lacks.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)

"$root/scripts/install_packages.sh" cmake make g++ libexpat1-dev libcli11-dev nlohmann-json3-dev libgtest-dev \
  libbenchmark-dev graphviz

cd "$root"
cmake --preset release
cmake --build build/release --parallel 2
ctest --test-dir build/release --output-on-failure -j 2
