#!/bin/sh
# Checks that includes under src/ only point down the layers, and that every source is in a CMakeLists.txt.
# Usage: check_layers.sh [ROOT]
set -eu
cd "${1:-$(dirname "$0")/..}"

# Each line: who includes, and what it may include: whole folders, or single headers. The most particular
# line counts. A folder includes itself without saying so, but a single header only what its line names.
layers='
definitions/node_definition.h  model/object.h model/number_array.h model/string_array.h model/dense_matrix.h model/status.h
values/node_value.h            model/object.h model/number_array.h model/string_array.h model/dense_matrix.h model/status.h
model        definitions/node_definition.h values/node_value.h
expression   model/object.h model/number_array.h model/string_array.h model/error_log.h model/random_source.h model/special_numbers.h model/identifier.h model/status.h
definitions  model expression values/node_value.h
values       model expression definitions
inference    model expression definitions values
formats      model expression definitions values
decision     model expression definitions values inference
hybrid       model expression definitions values inference
app          model expression definitions values inference formats decision hybrid
'

status=0
bad_includes=$(find src -name '*.h' -o -name '*.cpp' | sort | xargs grep -HnE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' | awk -v layers="$layers" '
  BEGIN {
    count = split(layers, line, "\n")
    for (i = 1; i <= count; i++) {
      words = split(line[i], word, " ")
      if (words == 0) continue
      known[word[1]] = 1
      for (j = 2; j <= words; j++) allowed[word[1], word[j]] = 1
      if (word[1] !~ /\//) allowed[word[1], word[1]] = 1
    }
  }
  {
    split($0, part, ":")
    file = part[1]
    sub(/^src\//, "", file)
    split($0, quoted, "\"")
    target = quoted[2]
    folder = file
    sub(/\/.*/, "", folder)
    target_folder = target
    sub(/\/.*/, "", target_folder)
    source = (file in known) ? file : folder
    if (!((source, target) in allowed) && !((source, target_folder) in allowed))
      print part[1] ":" part[2] ": " source " may not include \"" target "\""
  }')
if [ -n "$bad_includes" ]; then
  echo "$bad_includes"
  status=1
fi

for source in $(find src tests bench -name '*.cpp' | sort); do
  list=$(dirname "$source")/CMakeLists.txt
  name=$(basename "$source")
  if [ ! -f "$list" ] || ! grep -v '^[[:space:]]*#' "$list" | grep -qwF -e "$name" -e "qvr_fuzz(${name%.cpp})"; then
    echo "$source: in no CMakeLists.txt of its folder"
    status=1
  fi
done
[ "$status" -eq 0 ] && echo "layers: no include points up, every source is built"
exit "$status"
