#!/usr/bin/env bash
# Checks that every folder of src/ includes only what its README allows: the
# folders named as `src/NAME` in the paragraph that starts "May depend on:".
# Public headers (vsglex/...) are open to all. The folder's CMakeLists.txt
# must link (target_link_libraries) exactly those folders, which is what the
# build enforces.
set -euo pipefail
src=$1
status=0
for dir in "$src"/*/; do
  dir=${dir%/}
  name=$(basename "$dir")
  readme=$dir/README.md
  if [ ! -f "$readme" ]; then
    echo "src/$name has no README.md"
    status=1
    continue
  fi
  allowed=$(awk '/^May depend on:/ {on=1} on && /^$/ {exit} on {print}' "$readme" |
            grep -o '`src/[a-z_]*`' | tr -d '`' | sed 's|src/||' | sort -u || true)
  if ! grep -q '^May depend on:' "$readme"; then
    echo "src/$name/README.md has no 'May depend on:' paragraph"
    status=1
    continue
  fi
  linked=$(sed -n "s/^target_link_libraries(vsglex_$name PRIVATE \(.*\))/\1/p" "$dir/CMakeLists.txt" 2>/dev/null |
           tr ' ' '\n' | sed -n 's/^vsglex_//p' | sort -u || true)
  if [ "$linked" != "$allowed" ]; then
    echo "src/$name/CMakeLists.txt links [$(echo $linked)], its README allows [$(echo $allowed)]"
    status=1
  fi
  while IFS= read -r line; do
    file=${line%%:*}
    used=$(sed -n 's/.*#include "\([a-z_]*\)\/.*/\1/p' <<<"${line#*:}")
    [ -z "$used" ] || [ "$used" = vsglex ] || [ "$used" = "$name" ] && continue
    if ! grep -qx "$used" <<<"$allowed"; then
      echo "${file#"$src"/}: includes src/$used, which src/$name/README.md does not allow"
      status=1
    fi
  done < <(grep -H '#include "[a-z_]*/' "$dir"/*.cpp "$dir"/*.h 2>/dev/null || true)
done
[ $status -eq 0 ] && echo "every folder of src/ includes only what its README allows"
exit $status
