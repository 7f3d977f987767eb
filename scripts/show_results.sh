#!/bin/sh
# Shows the cases and the result table of a batch folder with the names of nodes and outcomes.
# Usage: show_results.sh FOLDER
set -eu
cd "$1"

# The network's nodes and outcomes as lines "node outcome", in file order.
outcomes() {
  tr '<' '\n' <kvtnetwork.xqvr | awk '
    /^(cpt|deterministic|decision|noisymax|noisyadder)[ \t]/ { node = Id($0) }
    /^state[ \t]/ { print node, Id($0) }
    function Id(tag) {
      sub(/.*[ \t]id="/, "", tag)
      sub(/".*/, "", tag)
      return tag
    }'
}

outcomes | tr -d '\r' | awk -F '[ ,]' '
  function Trim(text) {
    sub(/\r$/, "", text)
    return text
  }
  function Pad(text, width) { return sprintf("%-" width "s", text) }

  stage == "outcomes" {
    outcomeName[$1, count[$1]++] = $2
    if (length($1) > nodeWidth) nodeWidth = length($1)
    if (length($2) > outcomeWidth) outcomeWidth = length($2)
    next
  }
  stage == "symptoms" { symptom[FNR] = Trim($1); next }
  stage == "cases" {
    line = ""
    for (i = 1; i in symptom; i++) {
      if ((symptom[i], $i + 0) in outcomeName) {
        line = line (line == "" ? "" : ", ") symptom[i] " = " outcomeName[symptom[i], $i + 0]
      }
    }
    if (FNR == 1) print "\nWhat was observed"
    printf "  case %d: %s\n", FNR - 1, line == "" ? "nothing" : line
    next
  }
  {
    cells = NF - 1
    for (i = 1; i <= cells; i++) cell[FNR, i] = $i
    lines = FNR
    columns = cells
  }
  END {
    print "\nProbabilities of the results"
    printf "  %s  %s", Pad("node", nodeWidth), Pad("outcome", outcomeWidth)
    for (line = 3; line <= lines; line++) printf "  %12s", "case " (line - 3)
    print ""
    for (i = 1; i <= columns; i++) {
      node = cell[1, i]
      printf "  %s  %s", Pad(node == cell[1, i - 1] ? "" : node, nodeWidth), Pad(outcomeName[node, cell[2, i]], outcomeWidth)
      for (line = 3; line <= lines; line++) printf "  %12s", cell[line, i]
      print ""
    }
  }' stage=outcomes - stage=symptoms csvofsymps.csv stage=cases csvofanalyzedata.csv stage=results resultdata.csv
