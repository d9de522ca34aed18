#!/usr/bin/env bash
# Cross-validation by days: the four corpus files are four folds of seven
# days. Each fold is scored by vsglex-eval with models trained on the other
# 21 days; prints part-of-speech accuracy and person, place and
# organisation F1 per fold (from the evaluator's exact counts) and their
# means over the folds.
#
# usage: scripts/crossval.sh [--min POS,PERSON,PLACE,ORG] [--keep DIR] [-j N]
#                            [--eval-args "OPTION..."] [--models DIR]
#                            TRAIN EVAL [-- TRAINER_OPTION...]
#   --min   fail (exit 1) when a mean is below its bar
#   --keep  keep each fold's models and evaluator output in DIR/foldK
#   -j N    run N folds at a time (default 1)
#   --eval-args  options for every evaluator run, split at spaces (e.g.
#           "--api": score through the pre-cut public interface)
#   --models DIR  score the models kept by an earlier --keep DIR run
#           (DIR/foldK/models) instead of training; TRAIN is not run
#   options after -- go to every training run (e.g. -- --person-floor 0.01)
# Skips (exit 0) when the corpus is not present beside the repository.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
corpus="${VSGLEX_CORPUS:-$root/../shared/corpus/pfr-1998-01}"
min="" keep="" jobs=1 evalargs="" models=""
while [ $# -gt 0 ]; do
  case "$1" in
    --min) min="$2"; shift 2 ;;
    --keep) keep="$2"; shift 2 ;;
    -j) jobs="$2"; shift 2 ;;
    --eval-args) evalargs="$2"; shift 2 ;;
    --models) models="$2"; shift 2 ;;
    *) break ;;
  esac
done
train="${1:?usage: crossval.sh [--min P,PER,PL,ORG] [--keep DIR] [-j N] TRAIN EVAL [-- OPTIONS]}"
eval="${2:?usage: crossval.sh [--min P,PER,PL,ORG] [--keep DIR] [-j N] TRAIN EVAL [-- OPTIONS]}"
shift 2
if [ $# -gt 0 ] && [ "$1" = "--" ]; then shift; fi
extra=("$@")
read -r -a evalopts <<<"$evalargs"
if [ ! -d "$corpus" ]; then
  echo "crossval: corpus not found at $corpus, skipped"
  exit 0
fi
if [ -n "$keep" ]; then
  out="$keep"
  mkdir -p "$out"
else
  out="$(mktemp -d)"
  trap 'rm -rf "$out"' EXIT
fi

folds=(01-07 08-14 15-21 22-28)
run_fold() {  # run_fold K: trains without fold K's days and scores them
  local k=$1 days=${folds[$1]}
  local from=$((10#${days%-*})) to=$((10#${days#*-}))
  local dir="$out/fold$((k + 1))"
  local set="$dir/models"
  mkdir -p "$dir"
  if [ -n "$models" ]; then
    set="$models/fold$((k + 1))/models"
  else
    "$train" "${extra[@]}" --exclude-days "$from-$to" "$corpus" "$set" >"$dir/train.txt"
  fi
  "$eval" "${evalopts[@]}" "$set" "$corpus/train-$days.txt" >"$dir/eval.txt"
}
pids=()
for k in 0 1 2 3; do
  run_fold "$k" &
  pids+=($!)
  if [ "${#pids[@]}" -ge "$jobs" ]; then
    wait "${pids[0]}"
    pids=("${pids[@]:1}")
  fi
done
for p in "${pids[@]}"; do wait "$p"; done

# "part-of-speech accuracy 0.9509 (141201 of 148491 ...)" and
# "person P .. R .. F1 .. (gold 2358, output 2340, found 2117; ...)".
for k in 0 1 2 3; do
  echo "fold $((k + 1)) ${folds[$k]}"
  cat "$out/fold$((k + 1))/eval.txt"
done | awk -v min="$min" '
  /^fold / { f = $2; days[f] = $3; next }
  /^part-of-speech accuracy/ { gsub(/[(]/, "", $4); v["pos", f] = $4 / $6; seen++ }
  /^(person|place|organisation) +P / {
    g = $0; sub(/.*[(]gold /, "", g)
    o = $0; sub(/.*output /, "", o)
    n = $0; sub(/.*found /, "", n)
    gold = g + 0; output = o + 0; found = n + 0
    p = output > 0 ? found / output : 0
    r = gold > 0 ? found / gold : 0
    v[$1, f] = (gold + output) > 0 ? 2 * found / (gold + output) : 0
    v[$1 "P", f] = p; v[$1 "R", f] = r; seen++
  }
  END {
    if (seen != 16) { print "crossval: evaluator output not understood"; exit 1 }
    split("pos person place organisation", kind, " ")
    printf "%-6s %-6s %8s %8s %8s %8s   %s\n", "fold", "days", "pos", "person", "place", "org", \
           "P/R person, place, org"
    for (f = 1; f <= 4; ++f) {
      printf "%-6d %-6s", f, days[f]
      for (i = 1; i <= 4; ++i) { printf " %8.4f", v[kind[i], f]; mean[i] += v[kind[i], f] / 4 }
      printf "   %.3f/%.3f %.3f/%.3f %.3f/%.3f\n", v["personP", f], v["personR", f], v["placeP", f],
             v["placeR", f], v["organisationP", f], v["organisationR", f]
    }
    printf "%-6s %-6s", "mean", ""
    for (i = 1; i <= 4; ++i) printf " %8.4f", mean[i]
    printf "\n"
    if (min == "") exit 0
    split(min, bar, ",")
    bad = 0
    for (i = 1; i <= 4; ++i) {
      if (mean[i] < bar[i]) { printf "crossval: mean %s %.4f below %s\n", kind[i], mean[i], bar[i]; bad = 1 }
    }
    exit bad
  }'
