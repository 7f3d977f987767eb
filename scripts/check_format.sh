#!/bin/sh
# Fails if clang-format would change a source; with --fix it does.
set -eu
cd "$(dirname "$0")/.."
mode='--dry-run -Werror'
[ "${1:-}" = --fix ] && mode=-i
# shellcheck disable=SC2086  # one word an option
find src tests bench \( -name '*.h' -o -name '*.cpp' \) -exec clang-format $mode {} +
echo "format: clean"
