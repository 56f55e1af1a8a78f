#!/usr/bin/env bash
# Fails when an include in src/ points up the stack of layers. From the bottom:
#   base                   exact numerics, vector primitives, shared constants
#   distance, transform    the numeric subsystems
#   features               (uses transform)
#   conditioning           (uses distance, transform, features; reaches into the
#                          engine only through conditioning/engine_link.h)
#   engine                 (uses distance)
#   persist                (uses engine)
#   cli, vantelo           the front end and the C interface
# A folder may include its own headers and those of lower layers.
set -euo pipefail
src=$(cd "$(dirname "$0")/../src" && pwd)
declare -A rank=([base]=0 [distance]=1 [transform]=1 [features]=2 [conditioning]=3
                 [engine]=4 [persist]=5 [cli]=6 [vantelo]=6)
status=0
while IFS= read -r -d '' file; do
  rel=${file#"$src"/}
  folder=${rel%%/*}
  [ -n "${rank[$folder]+x}" ] || { echo "$rel: folder '$folder' has no layer"; status=1; continue; }
  while IFS=: read -r line target; do
    to=${target%%/*}
    [ "$to" = "$folder" ] && continue
    [ -n "${rank[$to]+x}" ] || { echo "$rel:$line: includes $target from an unknown folder"; status=1; continue; }
    if [ "$rel" = conditioning/engine_link.h ] && [ "$to" = engine ]; then continue; fi
    if [ "${rank[$to]}" -ge "${rank[$folder]}" ]; then
      echo "$rel:$line: includes $target, which is not below $folder"
      status=1
    fi
  done < <(grep -n '^#include "' "$file" | sed -E 's/^([0-9]+):#include "([^"]+)".*/\1:\2/')
done < <(find "$src" \( -name '*.h' -o -name '*.cpp' \) -print0 | sort -z)
[ $status -eq 0 ] && echo "every include points down the layers"
exit $status
