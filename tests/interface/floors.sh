#!/usr/bin/env bash
# floors.sh SOURCE-DIR: a file includes what lies in its own folder or on a floor below it, and HACKING.md and
# docs/floors.svg show the floors as they are.
set -euo pipefail
cd "$1"
grep -rn --include='*.[ch]pp' --include='*.h' '^#include "[a-z]*/' . | sed 's,^\./,,' |
  awk -F'[/:"]' '
    NR == FNR { n = split($0, rooms, " "); for (i = 1; i <= n; i++) floor[rooms[i]] = NR; next }
    { from = $1; line = $0; sub(/^[^"]*"/, "", line); sub(/\/.*/, "", line) }
    !(from in floor) || !(line in floor) { print "no floor for: " $0; bad = 1; next }
    from != line && floor[line] <= floor[from] { print "not below it: " $0; bad = 1 }
    END { exit bad }' floors.txt -
diff floors.txt <(grep -A "$(($(wc -l <floors.txt) - 1))" '^ *agent$' ../HACKING.md | sed 's/^ *//')
diff floors.txt <(awk -F'[<>]' '
  /class="room"/ { for (i = 2; i < NF; i++) if ($i ~ /class="room"/) floor = floor (floor ? " " : "") $(i + 1) }
  /<\/g>/ && floor { print floor; floor = "" }' ../docs/floors.svg)
