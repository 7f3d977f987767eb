#!/bin/sh
# Measures how near the samplers come: prints the table of docs/accuracy.md and draws docs/accuracy.svg.
# Needs gnuplot. Usage: accuracy.sh qvr_accuracy [FOLDER ...], or accuracy.sh TABLE with what an earlier run
# of qvr_accuracy printed.
set -eu
[ "$#" -gt 0 ] || { sed -n '2,4p' "$0" >&2; exit 1; }
docs=$(cd "$(dirname "$0")/.." && pwd)/docs
table=$(mktemp)
trap 'rm -f "$table"' EXIT
if [ -x "$1" ]; then
  "$@" >"$table"
else
  cat "$1" >"$table"
fi

awk -F '\t' '
  NR == 1 { next }
  $2 == "loopy" { loopy[$1] = loopy[$1] " " $4 " after " $3 ";"; next }
  {
    if (!(($1, $2) in seen)) row[++rows] = $1 SUBSEP $2
    seen[$1, $2] = 1
    distance[$1, $2, $3] = $4
  }
  END {
    print "| network | sampler | 100 | 1,000 | 10,000 | 100,000 |\n|---|---|---|---|---|---|"
    for (i = 1; i <= rows; i++) {
      split(row[i], name, SUBSEP)
      printf "| %s | %s |", name[1], name[2]
      for (samples = 100; samples <= 100000; samples *= 10) printf " %s |", distance[row[i], samples]
      print ""
    }
    for (network in loopy) print network ":" loopy[network]
  }' "$table"

networks=$(awk -F '\t' 'NR > 1 && !seen[$1]++ { print $1 }' "$table" | tr '\n' ' ')
gnuplot <<PLOT
set terminal svg size 900,760 font "sans-serif,11" background "white"
set output "$docs/accuracy.svg"
set datafile separator "\t"
set datafile missing "none"
set multiplot layout 2,2
set logscale xy
set format x "10^{%L}"
set format y "10^{%L}"
set xrange [80:130000]
set yrange [0.0008:1]
set xlabel "samples"
set ylabel "Hellinger distance"
set key below maxrows 2 samplen 2
set grid
do for [network in "$networks"] {
  set title network noenhanced
  plot for [sampler in "logic likelihood self backward adaptive message"] "$table" \
    using (strcol(1) eq network && strcol(2) eq sampler ? \$3 : NaN):4 with linespoints title sampler, \
    1 / sqrt(x) dashtype 2 linecolor "gray" title "1/√n"
}
PLOT
