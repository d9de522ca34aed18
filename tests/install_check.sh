#!/usr/bin/env bash
# Installs the build tree into a temporary prefix and builds a small host
# program against it, once through find_package(vsglex) and once through
# pkg-config, then runs both.
set -euo pipefail
build=$1
consumer=$2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cmake --install "$build" --prefix "$tmp/prefix" >/dev/null
cmake -S "$consumer" -B "$tmp/build" -DCMAKE_PREFIX_PATH="$tmp/prefix" >/dev/null
cmake --build "$tmp/build" >/dev/null
LD_LIBRARY_PATH="$tmp/prefix/lib" "$tmp/build/consumer"
libdir=$(ls -d "$tmp"/prefix/lib*/pkgconfig | head -n1)
flags=$(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs vsglex)
cc -std=c99 -Wall -Werror -o "$tmp/consumer-pc" "$consumer/consumer.c" $flags
LD_LIBRARY_PATH="$(dirname "$libdir")" "$tmp/consumer-pc"
echo "install consumer: ok"
