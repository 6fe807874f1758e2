#!/usr/bin/env bash
# documented.sh SOURCE-DIR: each exported function, variable, type and enumeration has a comment directly before it.
set -euo pipefail
cd "$1"
awk '
  /^(VORN_API|typedef|enum)/ {
    found = 1
    if (before !~ /\*\/$/) { print FILENAME ":" FNR ": no comment before: " $0; bad = 1 }
  }
  { before = $0 }
  END { exit bad || !found }' ./*/*.h
