#!/usr/bin/env bash
# first_plugin.sh STAGE: the plugins of docs/plugins.md build against the headers of the agent installed in STAGE, need
# nothing that it does not export, and do on a private device what the pages show, docs/boot.md included. Exit status 77
# if there can be no device here.
set -euo pipefail

stage=$(realpath -- "$1")
top=$(realpath -- "$(dirname -- "${BASH_SOURCE[0]}")/../..")
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

fail() {
  printf 'first_plugin: %s\n' "$1" >&2
  exit 1
}

blocks() { # blocks LANGUAGE HEADING: the code blocks of that language below that heading of the second level
  awk -v language="$1" -v heading="## $2" '
    FNR == 1 { below = 0 }
    /^```/ { fenced = !fenced; wanted = fenced && below && $0 == "```" language; found = found || wanted; next }
    !fenced && /^## / { below = $0 == heading }
    wanted
    END { exit !found }' "$top/docs/plugins.md" "$top/docs/boot.md" || fail "no page has a $1 block below \"$2\"."
}

# ---- Each plugin builds and finds its functions ----

exported() { nm -D --defined-only -- "$1" | awk '{ print $NF }' | sort; }

needed() { nm -D --undefined-only -- "$1" | awk '$NF ~ /^(vorn_|VORN_|eloop_)/ { print $NF }' | sort; }

check_plugin() { # check_plugin NAME: NAME.c becomes NAME.vorn
  local missing
  "${CC:-cc}" -std=c99 -Wall -Wextra -Wpedantic -Werror -shared -fPIC -I "$stage/usr/include/vorn" \
    -o "$work/$1.vorn" "$work/$1.c" || fail "$1 does not compile."
  exported "$work/$1.vorn" | grep -qx vorn_plugin_init || fail "$1 does not export vorn_plugin_init."
  [[ -n $(needed "$work/$1.vorn") ]] || fail "$1 calls nothing of the agent."
  missing=$(comm -23 <(needed "$work/$1.vorn") <(exported "$stage/usr/sbin/vorn"))
  [[ -z $missing ]] || fail "the agent does not export what $1 needs: $missing"
}

declare -A headings=(
  [first]='A first plugin'
  [second]='A second one, piece by piece'
  [third]='A third one, with tables'
  [fourth]='A fourth one, with a daemon'
  [boot]='The default file'
)

for name in first second third fourth; do
  blocks c "${headings[$name]}" >"$work/$name.c"
  check_plugin "$name"
done

# ---- Each does what the page shows ----

# A session of the page as a script that prints what it runs. A slow machine needs longer than the page's pause.
session() {
  local line
  printf '%s\n' '#!/usr/bin/env bash' "PATH=/usr/bin:/usr/sbin:\$PATH"
  while IFS= read -r line; do
    [[ $line == '# '* ]] || continue
    printf 'printf "%%s\\n" %q\n%s\n' "$line" "${line#'# '}"
    if [[ $line == '# vorn'* ]]; then
      # shellcheck disable=SC2016 # it is for the session
      echo 'for ((i = 0; i < 600; i++)); do [[ -e /var/run/vorn.pid ]] && break; sleep 0.1; done'
    fi
  done
}

run_session() { # run_session NAME PLUGIN...: the session below NAME's heading, with these plugins installed
  local name place=$work/$1
  mkdir -- "$place"
  cp -R -- "$stage" "$place/root"
  rm -f -- "$place/root/usr/lib/vorn/plugins"/*
  for name in "${@:2}"; do cp -- "$work/$name.vorn" "$place/root/usr/lib/vorn/plugins/"; done
  blocks console "${headings[$1]}" >"$place/page"
  session <"$place/page" >"$place/session"
  chmod +x "$place/session"
  cd -- "$place"
  "$top/scripts/device" --root "$place/root" -- "$place/session" >seen 2>&1 || fail "session of $1: $(<seen)"
  # Some of the agent's lines end with a carriage return, which no page shows.
  diff -- page <(tr -d '\r' <seen) || fail "what the page shows (<) is not what happens (>)."
}

"$top/scripts/device" --check || exit # with 77
run_session first first
run_session second second
run_session third third second
run_session fourth fourth
run_session boot first
