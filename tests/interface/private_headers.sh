#!/usr/bin/env bash
# private_headers.sh SOURCE-DIR: no exported header leans on a private one, and vorn.h includes all exported ones.
set -euo pipefail
cd "$1"
if grep -rn --include='*.h' '#include.*\.hpp' .; then exit 1; fi
diff <(find . -name '*.h' ! -name vorn.h | sed 's,^\./,,' | sort) \
  <(sed -n 's/^#include "\(.*\)"$/\1/p' plugins/vorn.h | sort)
