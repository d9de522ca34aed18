#!/usr/bin/env bash
# Retrains the default model set from the corpus and checks that the result
# equals the shipped files in data/vsg byte for byte.
# Usage: scripts/check_models.sh [VSGLEX_TRAIN_BINARY]
# Skips (exit 0) when the corpus is not present beside the repository.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
corpus="${VSGLEX_CORPUS:-$root/../shared/corpus/pfr-1998-01}"
train="${1:-}"
if [ ! -d "$corpus" ]; then
  echo "check_models: corpus not found at $corpus, skipped"
  exit 0
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
for f in coredict.dct lexical.ctx nr.ctx ns.ctx nt.ctx zyrpos30.map nr.map ns.map nt.map \
         name_pre.dct loc_suffix.dct org_suffix.dct segment.mdl; do
  if ! cmp -s "$out/$f" "$root/data/vsg/$f"; then
    echo "check_models: $f differs from data/vsg/$f" >&2
    status=1
  fi
done
if [ "$status" -eq 0 ]; then
  echo "check_models: retrained models equal data/vsg (13 files)"
fi
exit "$status"
