#!/usr/bin/env bash
# Runs one fuzz target for a number of seconds:
#   bash scripts/fuzz.sh TARGET [SECONDS] [extra libFuzzer options...]
# e.g. bash scripts/fuzz.sh phrase_fuzz 3600 -jobs=2
# Builds the clang fuzz build in build-fuzz/ when needed. The corpus grows in
# build-fuzz/corpus/TARGET (started from fuzz/seeds/TARGET) so that long runs
# build on each other; with VSGLEX_FUZZ_FRESH=1 a temporary corpus is used
# instead. Findings are written to build-fuzz/findings/TARGET/. Exits non-zero
# when the target fails.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -lt 1 ]; then
  echo "usage: $0 TARGET [SECONDS] [libFuzzer options...]" >&2
  ls fuzz/*_fuzz.cpp | sed 's|fuzz/||; s|\.cpp$||' >&2
  exit 2
fi
target=$1
seconds=${2:-600}
shift $(( $# >= 2 ? 2 : 1 ))
build=${VSGLEX_FUZZ_BUILD:-build-fuzz}

if [ ! -f "fuzz/$target.cpp" ]; then
  echo "no fuzz target fuzz/$target.cpp" >&2
  exit 2
fi
if [ "${VSGLEX_FUZZ_NO_BUILD:-0}" != 1 ]; then
  CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVSGLEX_FUZZ=ON \
    -DVSGLEX_SANITIZE=address,undefined -DVSGLEX_BUILD_TESTS=OFF -DVSGLEX_BUILD_BENCH=OFF \
    -DVSGLEX_BUILD_TOOLS=OFF >/dev/null
  cmake --build "$build" -j "$(nproc)" --target "$target"
fi

if [ "${VSGLEX_FUZZ_FRESH:-0}" = 1 ]; then
  corpus=$(mktemp -d)
  trap 'rm -rf "$corpus"' EXIT
else
  corpus=$build/corpus/$target
  mkdir -p "$corpus"
fi
[ -d "fuzz/seeds/$target" ] && cp -r "fuzz/seeds/$target"/. "$corpus"/
findings=$build/findings/$target
mkdir -p "$findings"
log=$(mktemp)
status=0
"$build/fuzz/$target" -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="$findings/" \
  "$@" "$corpus" >"$log" 2>&1 || status=$?
if [ "$status" -ne 0 ]; then
  # The fuzzer's report: what failed, where, and the input that did it.
  grep -a -v '^#[0-9]' "$log" | tail -n 60
  echo "-- $target FAILED (status $status); inputs in $findings/"
else
  runs=$(grep -a -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || true)
  echo "-- $target: ${runs:-?} runs in ${seconds}s, no failure"
fi
rm -f "$log"
exit "$status"
