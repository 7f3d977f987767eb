#!/bin/sh
# Builds the fuzz targets with clang and sanitizers, and runs each for the given number of seconds.
# usage: scripts/fuzz.sh SECONDS [TARGET...]
set -eu

cd "$(dirname "$0")/.."
seconds=${1:?usage: scripts/fuzz.sh SECONDS [TARGET...]}
shift
build=build/fuzz
targets=${*:-xml_loader xml_round_trip text_loader table formula}

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g" \
  -DQVR_SANITIZE=ON -DQVR_FUZZ=ON -DQVR_BENCH=OFF
for target in $targets; do
  cmake --build "$build" --parallel 2 --target "fuzz_$target"
  # New inputs go to the build folder; the seeds stay as they are.
  mkdir -p "$build/corpus/$target"
  input=$target; [ "$target" != xml_round_trip ] || input=xml_loader  # what both read
  dict=; [ ! -f "tests/fuzz/$input.dict" ] || dict=-dict=tests/fuzz/$input.dict
  "$build/tests/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$build/" $dict \
    "$build/corpus/$target" "tests/fuzz/seeds/$input"
done
