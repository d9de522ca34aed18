#!/usr/bin/env bash
# Trains on corpus days 1-24, scores days 25-28 and checks the quality
# targets of the default model set: part-of-speech accuracy >= 0.95, person
# F1 >= 0.90, place F1 >= 0.85, organisation F1 >= 0.75 (computed from the
# exact counts the evaluator prints, not from its rounded figures).
# Usage: scripts/check_dev_targets.sh VSGLEX_TRAIN_BINARY VSGLEX_EVAL_BINARY
# Exits 77 (skipped) when the corpus is not present beside the repository.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
corpus="${VSGLEX_CORPUS:-$root/../shared/corpus/pfr-1998-01}"
train="${1:?usage: check_dev_targets.sh TRAIN EVAL}"
eval="${2:?usage: check_dev_targets.sh TRAIN EVAL}"
if [ ! -d "$corpus" ]; then
  echo "check_dev_targets: corpus not found at $corpus, skipped"
  exit 77
fi
out="$(mktemp -d)"
trap 'rm -rf "$out"' EXIT
"$train" --exclude-from 19980125 "$corpus" "$out/models" >/dev/null
"$eval" --from 19980125 "$out/models" "$corpus/train-22-28.txt" | tee "$out/eval.txt"
# "part-of-speech accuracy 0.9509 (141201 of 148491 ...)" and
# "person P .. R .. F1 .. (gold 2358, output 2340, found 2117; ...)".
awk '
  /^part-of-speech accuracy/ { gsub(/[(]/, "", $4); pos = $4 / $6; seen++ }
  /^(person|place|organisation) +P / {
    g = $0; sub(/.*[(]gold /, "", g)
    o = $0; sub(/.*output /, "", o)
    f = $0; sub(/.*found /, "", f)
    gold = g + 0; output = o + 0; found = f + 0
    f1[$1] = (gold + output) > 0 ? 2 * found / (gold + output) : 0; seen++
  }
  END {
    if (seen != 4) { print "check_dev_targets: evaluator output not understood"; exit 1 }
    printf "check_dev_targets: part of speech %.5f, person %.5f, place %.5f, organisation %.5f\n",
           pos, f1["person"], f1["place"], f1["organisation"]
    bad = 0
    if (pos < 0.95) { print "check_dev_targets: part-of-speech accuracy below 0.95"; bad = 1 }
    if (f1["person"] < 0.90) { print "check_dev_targets: person F1 below 0.90"; bad = 1 }
    if (f1["place"] < 0.85) { print "check_dev_targets: place F1 below 0.85"; bad = 1 }
    if (f1["organisation"] < 0.75) { print "check_dev_targets: organisation F1 below 0.75"; bad = 1 }
    exit bad
  }' "$out/eval.txt"
