#!/usr/bin/env bash
# Compares vsglex --names-only with jieba's part-of-speech cutter and
# nodejieba's tag() on the development split: models trained on corpus days
# 1-21, raw text (tags removed) of days 22-28. Prints precision, recall and
# F1 of person, place and organisation names against the corpus's names,
# characters per second on one thread and peak memory.
#
# usage: bench/compare/compare.sh [BUILD_DIR]   (default: build)
# The peers are installed here and only here: python3-jieba from Debian,
# nodejieba from npm (built from source) into $VSGLEX_COMPARE_CACHE
# (default /tmp/vsglex-compare-cache).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${1:-$root/build}
corpus=${VSGLEX_CORPUS:-$root/../shared/corpus/pfr-1998-01}
cache=${VSGLEX_COMPARE_CACHE:-/tmp/vsglex-compare-cache}
# VSGLEX_COMPARE_WORK keeps the texts, outputs and models in that folder.
if [ -n "${VSGLEX_COMPARE_WORK:-}" ]; then
  work=$VSGLEX_COMPARE_WORK
  mkdir -p "$work"
else
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
fi

step() { printf '== %s\n' "$*" >&2; }

step "building vsglex and the trainer in $build"
cmake -S "$root" -B "$build" >/dev/null
cmake --build "$build" -j "$(nproc)" --target vsglex_cli vsglex-train >/dev/null
vsglex=$build/tools/vsglex/vsglex

step "training the development models (days 1-21)"
"$build/tools/vsglex-train/vsglex-train" --exclude-from 19980122 "$corpus" "$work/models" >/dev/null
step "raw text and gold names of days 22-28"
python3 "$here/corpus_split.py" "$corpus/train-22-28.txt" --text "$work/dev.txt" --gold "$work/gold.jsonl"

step "installing the peers"
# Debian's package installs into the system interpreter.
syspy=/usr/bin/python3
if ! "$syspy" -c 'import jieba' 2>/dev/null; then
  export DEBIAN_FRONTEND=noninteractive
  apt-get update >/dev/null && apt-get install -y python3-jieba >/dev/null
fi
if [ ! -d "$cache/node_modules/nodejieba" ]; then
  mkdir -p "$cache"
  (cd "$cache" && npm_config_yes=true npm install --no-audit --no-fund nodejieba >/dev/null 2>&1)
fi

# run NAME SECONDS_FROM COMMAND...: output to NAME.jsonl, "seconds peak_kb"
# to NAME.stats. SECONDS_FROM is "stderr" when the command prints its own
# processing time, else "wall".
run() {
  local name=$1 from=$2
  shift 2
  step "running $name"
  /usr/bin/time -f '%e %M' -o "$work/$name.time" "$@" >"$work/$name.jsonl" 2>"$work/$name.err"
  local wall peak
  read -r wall peak <"$work/$name.time"
  if [ "$from" = stderr ]; then wall=$(tail -n 1 "$work/$name.err"); fi
  echo "$wall $peak" >"$work/$name.stats"
}

# vsglex's processing time: the run minus a run on empty input (loading).
: >"$work/empty.txt"
/usr/bin/time -f '%e' -o "$work/empty.time" "$vsglex" --data "$work/models" "$work/empty.txt" >/dev/null
run vsglex wall "$vsglex" --data "$work/models" --names-only --format json "$work/dev.txt"
read -r full peak <"$work/vsglex.stats"
echo "$(python3 -c "print(max(0.001, $full - $(cat "$work/empty.time")))") $peak" >"$work/vsglex.stats"
run jieba stderr "$syspy" "$here/jieba_tag.py" "$work/dev.txt"
run nodejieba stderr env NODE_PATH="$cache/node_modules" node "$here/nodejieba_tag.js" "$work/dev.txt"

python3 "$here/score.py" "$work/dev.txt" "$work/gold.jsonl" "$work" vsglex jieba nodejieba
