#!/usr/bin/env bash
# Installs the build tree into a temporary prefix and builds the example
# host against it, once through find_package(vsglex) and once through
# pkg-config, then runs both on the installed model set: each must print
# the words of its sentence with tags and find a person, a place and an
# organisation.
set -euo pipefail
build=$1
consumer=$2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cmake --install "$build" --prefix "$tmp/prefix" >/dev/null
cmake -S "$consumer" -B "$tmp/build" -DCMAKE_PREFIX_PATH="$tmp/prefix" >/dev/null
cmake --build "$tmp/build" >/dev/null
libdir=$(ls -d "$tmp"/prefix/lib*/pkgconfig | head -n1)
models="$tmp/prefix/share/vsglex/vsg"
check() {  # output of one run
  for class in person place organization; do
    if ! grep -q "	$class	" "$1"; then
      echo "install consumer: no $class name in:" >&2
      cat "$1" >&2
      exit 1
    fi
  done
  grep -q '/v ' "$1" || { echo "install consumer: no tagged words" >&2; exit 1; }
}
LD_LIBRARY_PATH="$(dirname "$libdir")" "$tmp/build/consumer" "$models" >"$tmp/out1"
check "$tmp/out1"
flags=$(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs vsglex)
cc -std=c99 -Wall -Werror -o "$tmp/consumer-pc" "$consumer/consumer.c" $flags
LD_LIBRARY_PATH="$(dirname "$libdir")" "$tmp/consumer-pc" "$models" >"$tmp/out2"
check "$tmp/out2"
cat "$tmp/out1"
echo "install consumer: ok"
