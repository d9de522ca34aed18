#!/usr/bin/env bash
# Runs every test: the unit tests in a normal build and again under
# AddressSanitizer + UndefinedBehaviorSanitizer; with clang, the threaded
# tests under ThreadSanitizer and each fuzz target for a fixed time
# (VSGLEX_FUZZ_SECONDS, 45 s by default; scripts/fuzz.sh runs one for longer).
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
fuzz_seconds=${VSGLEX_FUZZ_SECONDS:-45}

step() { printf '\n==== %s\n' "$*"; }

step "normal build"
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVSGLEX_BUILD_TESTS=ON -DVSGLEX_BUILD_BENCH=ON >/dev/null
cmake --build build -j "$jobs"
ctest --test-dir build --output-on-failure -j "$jobs"

step "AddressSanitizer + UndefinedBehaviorSanitizer build"
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DVSGLEX_SANITIZE=address,undefined \
  -DVSGLEX_BUILD_TESTS=ON -DVSGLEX_BUILD_BENCH=OFF >/dev/null
cmake --build build-asan -j "$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build-asan --output-on-failure -j "$jobs"

if command -v clang++ >/dev/null 2>&1; then
  step "ThreadSanitizer build (tests labelled 'threads')"
  CC=clang CXX=clang++ cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVSGLEX_SANITIZE=thread -DVSGLEX_BUILD_TESTS=ON -DVSGLEX_BUILD_BENCH=OFF -DVSGLEX_BUILD_TOOLS=OFF >/dev/null
  cmake --build build-tsan -j "$jobs"
  TSAN_OPTIONS=halt_on_error=1 ctest --test-dir build-tsan --output-on-failure -R 'Thread' -j "$jobs"

  step "fuzz targets, ${fuzz_seconds}s each"
  CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVSGLEX_FUZZ=ON \
    -DVSGLEX_SANITIZE=address,undefined -DVSGLEX_BUILD_TESTS=OFF -DVSGLEX_BUILD_BENCH=OFF \
    -DVSGLEX_BUILD_TOOLS=OFF >/dev/null
  cmake --build build-fuzz -j "$jobs"
  for f in build-fuzz/fuzz/*_fuzz; do
    [ -x "$f" ] || continue
    VSGLEX_FUZZ_NO_BUILD=1 VSGLEX_FUZZ_FRESH=1 bash scripts/fuzz.sh "$(basename "$f")" "$fuzz_seconds"
  done
fi
step "all tests passed"
