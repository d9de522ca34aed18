#!/usr/bin/env bash
# Raw-text cross-validation by days with the protocol of compare.sh: for
# each of the four corpus files (folds of seven days), models trained on
# the other 21 days, vsglex --names-only over the fold's raw text, scored
# by score.py against the corpus's names. Prints precision, recall and F1
# per class and fold, and the mean F1 over the folds. vsglex only.
#
# usage: bench/compare/crossval.sh [BUILD_DIR] [-- TRAINER_OPTION...]
# VSGLEX_COMPARE_WORK keeps the texts, outputs and models in that folder.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=$root/build
if [ $# -gt 0 ] && [ "$1" != "--" ]; then build=$1; shift; fi
if [ $# -gt 0 ] && [ "$1" = "--" ]; then shift; fi
extra=("$@")
corpus=${VSGLEX_CORPUS:-$root/../shared/corpus/pfr-1998-01}
if [ -n "${VSGLEX_COMPARE_WORK:-}" ]; then
  work=$VSGLEX_COMPARE_WORK
  mkdir -p "$work"
else
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
fi
train=$build/tools/vsglex-train/vsglex-train
vsglex=$build/tools/vsglex/vsglex
for b in "$train" "$vsglex"; do
  if [ ! -x "$b" ]; then echo "crossval: $b not built" >&2; exit 1; fi
done

for days in 01-07 08-14 15-21 22-28; do
  dir=$work/$days
  mkdir -p "$dir"
  "$train" "${extra[@]}" --exclude-days "$((10#${days%-*}))-$((10#${days#*-}))" "$corpus" "$dir/models" >/dev/null
  python3 "$here/corpus_split.py" "$corpus/train-$days.txt" --text "$dir/text.txt" --gold "$dir/gold.jsonl"
  /usr/bin/time -f '%e %M' -o "$dir/vsglex.stats" \
    "$vsglex" --data "$dir/models" --names-only --format json "$dir/text.txt" >"$dir/vsglex.jsonl"
  echo "$days $(python3 "$here/score.py" "$dir/text.txt" "$dir/gold.jsonl" "$dir" vsglex | tail -n 1)"
done | awk '
  BEGIN { printf "%-6s %20s %20s %20s\n", "days", "person P/R/F1", "place P/R/F1", "org P/R/F1" }
  {
    printf "%-6s %20s %20s %20s\n", $1, $3, $4, $5
    for (i = 3; i <= 5; ++i) { split($i, prf, "/"); mean[i] += prf[3] / 4 }
    n++
  }
  END {
    if (n != 4) { print "crossval: a fold did not score" > "/dev/stderr"; exit 1 }
    printf "%-6s %20.3f %20.3f %20.3f   (mean F1)\n", "mean", mean[3], mean[4], mean[5]
  }'
