#!/usr/bin/env bash
# Retrains the default model set from the corpus and checks that the result
# equals the shipped files in data/vsg byte for byte, manifest.txt included.
# Usage: scripts/check_models.sh [VSGLEX_TRAIN_BINARY]
# Exits 77 (skipped) when the corpus is not present beside the repository.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
corpus="${VSGLEX_CORPUS:-$root/../shared/corpus/pfr-1998-01}"
train="${1:-}"
if [ ! -d "$corpus" ]; then
  echo "check_models: corpus not found at $corpus, skipped"
  exit 77
fi
if [ -z "$train" ]; then
  for c in "$root"/build*/tools/vsglex-train/vsglex-train; do
    if [ -x "$c" ]; then train="$c"; break; fi
  done
fi
if [ -z "$train" ] || [ ! -x "$train" ]; then
  echo "check_models: vsglex-train not built (pass its path)" >&2
  exit 1
fi
out="$(mktemp -d)"
trap 'rm -rf "$out"' EXIT
"$train" "$corpus" "$out" >/dev/null
status=0
# Every file the trainer wrote (the model files and their manifest) must
# equal the shipped one, and the shipped set must hold nothing else.
count=0
for path in "$out"/*; do
  [ -f "$path" ] || continue
  f=$(basename "$path")
  count=$((count + 1))
  if ! cmp -s "$path" "$root/data/vsg/$f"; then
    echo "check_models: $f differs from data/vsg/$f" >&2
    status=1
  fi
done
for path in "$root"/data/vsg/*; do
  f=$(basename "$path")
  if [ ! -e "$out/$f" ]; then
    echo "check_models: data/vsg/$f is not written by the trainer" >&2
    status=1
  fi
done
if [ ! -f "$out/manifest.txt" ]; then
  echo "check_models: the trainer wrote no manifest.txt" >&2
  status=1
fi
if [ "$status" -eq 0 ]; then
  echo "check_models: retrained models equal data/vsg ($count files, manifest included)"
fi
exit "$status"
