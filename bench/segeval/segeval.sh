#!/usr/bin/env bash
# Word cutting quality on held-out corpus days: word precision, recall, F1
# and recall of out-of-vocabulary words (gold words that never occur in the
# training days), scored by character spans, for
#   vsglex --granularity corpus with its default cutter,
#   the same with VSGLEX_CUTTER=dict (the dictionary cutter),
#   vsglex --granularity merged (names as one word: what the view changes),
#   jieba's default cutter (a peer);
# then part-of-speech tags of the same cuts and of jieba's part-of-speech
# cutter, scored by posscore.py (span and tag in the corpus's tag set);
# then the name figures of vsglex --names-only and jieba's part-of-speech
# cutter, scored by bench/compare/score.py.
#
# Splits (A and B by default; VSGLEX_SEGEVAL_SPLITS="A", "B", "A B C" ...):
#   A: models trained on days 1-24 (vsglex-train --exclude-from 19980125),
#      text of days 25-28;
#   B: models trained on days 5-28 (a corpus folder of those paragraphs),
#      text of days 1-4;
#   C (only when asked for): models trained on days 1-12 and 17-28, text
#      of days 13-16;
#   D (only when asked for): models trained on days 1-7 only, text of days
#      22-28: less training text and a gap of two weeks, so more unseen
#      words (8.4% of the gold words against 3.6% on A), a stand-in for
#      text of another period.
#
# usage: bench/segeval/segeval.sh [BUILD_DIR]   (default: build)
# VSGLEX_SEGEVAL_WORK keeps texts, outputs and models in that folder;
# VSGLEX_SEGEVAL_JIEBA=0 leaves the peer out; VSGLEX_SEGEVAL_TRAIN_ARGS are
# passed to vsglex-train (e.g. "--seg-epochs 25"); VSGLEX_SEGEVAL_ERRORS=1
# also sorts the errors of the corpus-granularity cut (segerrors.py);
# VSGLEX_SEGEVAL_LATER=1 also scores vsglex on a copy of the text whose
# years are moved 30 years later (shiftyears.py: 1997 -> 2027), a stand-in
# for text of a later period. The peer is installed here
# and only here (Debian package python3-jieba).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
compare=$root/bench/compare
build=${1:-$root/build}
corpus=${VSGLEX_CORPUS:-$root/../shared/corpus/pfr-1998-01}
splits=${VSGLEX_SEGEVAL_SPLITS:-A B}
use_jieba=${VSGLEX_SEGEVAL_JIEBA:-1}
train_args=${VSGLEX_SEGEVAL_TRAIN_ARGS:-}
if [ -n "${VSGLEX_SEGEVAL_WORK:-}" ]; then
  work=$VSGLEX_SEGEVAL_WORK
  mkdir -p "$work"
else
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
fi
py=/usr/bin/python3

step() { printf '== %s\n' "$*" >&2; }

step "building vsglex and the trainer in $build"
cmake -S "$root" -B "$build" >/dev/null
cmake --build "$build" -j "$(nproc)" --target vsglex_cli vsglex-train >/dev/null
vsglex=$build/tools/vsglex/vsglex
train=$build/tools/vsglex-train/vsglex-train

if [ "$use_jieba" != 0 ] && ! "$py" -c 'import jieba' 2>/dev/null; then
  step "installing python3-jieba"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update >/dev/null && apt-get install -y python3-jieba >/dev/null
fi

# timed NAME COMMAND...: stdout to NAME, "seconds peak_kb" to NAME.stats
# (wall-clock seconds; the machine may be shared, so they are rough).
timed() {
  local out=$1
  shift
  /usr/bin/time -f '%e %M' -o "$out.stats" "$@" >"$out"
}

files=("$corpus"/train-*.txt)
for split in $splits; do
  dir=$work/$split
  mkdir -p "$dir"
  case $split in
    A) train_days=19980101-19980124 test_days=19980125-19980128 ;;
    B) train_days=19980105-19980128 test_days=19980101-19980104 ;;
    C) train_days="19980101-19980112 19980117-19980128" test_days=19980113-19980116 ;;
    D) train_days=19980101-19980107 test_days=19980122-19980128 ;;
    *) echo "unknown split $split (A, B, C or D)" >&2; exit 2 ;;
  esac
  step "split $split: training days $train_days, scoring days $test_days"
  "$py" "$compare/corpus_split.py" "${files[@]}" --days "$test_days" \
    --text "$dir/test.txt" --gold "$dir/gold.jsonl" --words "$dir/gold-words.txt" --tagged "$dir/test-tagged.txt"
  mkdir -p "$dir/corpus"
  : >"$dir/corpus/train.txt"
  for days in $train_days; do
    "$py" "$compare/corpus_split.py" "${files[@]}" --days "$days" \
      --text /dev/null --gold /dev/null --tagged "$dir/corpus/part.txt"
    cat "$dir/corpus/part.txt" >>"$dir/corpus/train.txt"
    rm "$dir/corpus/part.txt"
  done
  # shellcheck disable=SC2086
  if [ "$split" = A ]; then
    "$train" --exclude-from 19980125 $train_args "$corpus" "$dir/models" >"$dir/train.log"
  else
    "$train" $train_args "$dir/corpus" "$dir/models" >"$dir/train.log"
  fi

  step "split $split: cutting"
  timed "$dir/vsglex-corpus.txt" "$vsglex" --data "$dir/models" --granularity corpus "$dir/test.txt"
  VSGLEX_CUTTER=dict timed "$dir/vsglex-dict.txt" "$vsglex" --data "$dir/models" --granularity corpus "$dir/test.txt"
  timed "$dir/vsglex-merged.txt" "$vsglex" --data "$dir/models" --granularity merged "$dir/test.txt"
  systems=("vsglex corpus=tagged:$dir/vsglex-corpus.txt"
           "vsglex corpus, dictionary cutter=tagged:$dir/vsglex-dict.txt"
           "vsglex merged=tagged:$dir/vsglex-merged.txt")
  if [ "$use_jieba" != 0 ]; then
    timed "$dir/jieba-words.txt" "$py" "$here/jieba_cut.py" "$dir/test.txt"
    systems+=("jieba (own dictionary)=words:$dir/jieba-words.txt")
  fi
  echo "split $split: words (training days $train_days, text of days $test_days)"
  "$py" "$here/segscore.py" "$dir/test.txt" "$dir/gold-words.txt" "$dir/corpus/train.txt" "${systems[@]}"
  tagged=("vsglex corpus=$dir/vsglex-corpus.txt" "vsglex corpus, dictionary cutter=$dir/vsglex-dict.txt")
  if [ "$use_jieba" != 0 ]; then
    "$py" "$here/jieba_cut.py" --tags "$dir/test.txt" >"$dir/jieba-pos.txt"
    tagged+=("jieba part-of-speech cutter=$dir/jieba-pos.txt")
  fi
  echo "split $split: part-of-speech tags (a word right when its span and its tag in the corpus's set are)"
  "$py" "$here/posscore.py" "$dir/test.txt" "$dir/test-tagged.txt" "${tagged[@]}"
  if [ "${VSGLEX_SEGEVAL_ERRORS:-0}" != 0 ]; then
    echo "split $split: errors of vsglex corpus"
    "$py" "$here/segerrors.py" "$dir/test-tagged.txt" "$dir/corpus/train.txt" "$dir/vsglex-corpus.txt"
  fi
  for s in vsglex-corpus vsglex-dict vsglex-merged jieba-words; do
    [ -f "$dir/$s.txt.stats" ] && printf '  %s: %s s wall, %s KB peak\n' "$s" $(cat "$dir/$s.txt.stats")
  done

  step "split $split: names"
  timed "$dir/vsglex.jsonl" "$vsglex" --data "$dir/models" --names-only --format json "$dir/test.txt"
  mv "$dir/vsglex.jsonl.stats" "$dir/vsglex.stats"
  names=(vsglex)
  if [ "$use_jieba" != 0 ]; then
    # jieba_tag.py prints its own cutting time; keep wall time and peak.
    /usr/bin/time -f '%e %M' -o "$dir/jieba.stats" "$py" "$compare/jieba_tag.py" "$dir/test.txt" \
      >"$dir/jieba.jsonl" 2>"$dir/jieba.err"
    names+=(jieba)
  fi
  echo "split $split: names (chars/s is wall-clock, loading included)"
  "$py" "$compare/score.py" "$dir/test.txt" "$dir/gold.jsonl" "$dir" "${names[@]}"

  if [ "${VSGLEX_SEGEVAL_LATER:-0}" != 0 ]; then
    step "split $split: the text with its years 30 years later"
    later=$dir/later
    mkdir -p "$later"
    "$py" "$here/shiftyears.py" "$dir/test.txt" "$dir/gold-words.txt" "$dir/test-tagged.txt"
    cp "$dir/gold.jsonl" "$later/gold.jsonl"
    "$vsglex" --data "$dir/models" --granularity corpus "$dir/test.txt.later" >"$later/vsglex-corpus.txt"
    timed "$later/vsglex.jsonl" "$vsglex" --data "$dir/models" --names-only --format json "$dir/test.txt.later"
    mv "$later/vsglex.jsonl.stats" "$later/vsglex.stats"
    echo "split $split: words, tags and names with the years 30 years later"
    "$py" "$here/segscore.py" "$dir/test.txt.later" "$dir/gold-words.txt.later" "$dir/corpus/train.txt" \
      "vsglex corpus=tagged:$later/vsglex-corpus.txt"
    "$py" "$here/posscore.py" "$dir/test.txt.later" "$dir/test-tagged.txt.later" "vsglex corpus=$later/vsglex-corpus.txt"
    "$py" "$compare/score.py" "$dir/test.txt.later" "$later/gold.jsonl" "$later" vsglex
  fi
  echo
done
