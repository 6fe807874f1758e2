#!/usr/bin/env bash
# exports.sh EXECUTABLE LIST: the executable exports exactly the symbols of the list.
set -euo pipefail
diff <(sort "$2") <(nm -D --defined-only "$1" | awk '{print $NF}' | grep -v -E '^(__|_IO_stdin_used|_init$|_fini$)' | sort)
