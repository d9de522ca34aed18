#!/usr/bin/env bash
# Checks that libvsglex.so exports exactly the symbols listed in exports.txt:
# nothing internal leaks, and nothing of the interface is missing.
set -euo pipefail
lib=$1
list=$2
actual=$(nm -D --defined-only "$lib" | awk '$2 ~ /^[TDBRVW]$/ {print $3}' | sed 's/@.*//' | sort -u)
expected=$(grep -v '^#' "$list" | sed '/^$/d' | sort -u)
extra=$(comm -23 <(echo "$actual") <(echo "$expected"))
missing=$(comm -13 <(echo "$actual") <(echo "$expected"))
status=0
if [ -n "$extra" ]; then echo "exported but not in $(basename "$list"):"; echo "$extra"; status=1; fi
if [ -n "$missing" ]; then echo "listed but not exported:"; echo "$missing"; status=1; fi
[ $status -eq 0 ] && echo "$(echo "$actual" | wc -l) symbols exported, as listed"
exit $status
