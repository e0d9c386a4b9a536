#!/usr/bin/env bash
# check.sh <step> <argument>...: one check of the built library.
set -euo pipefail

# has <text> <pattern>...: every pattern stands in a line of the text.
has() {
  local text=$1 pattern
  shift
  for pattern in "$@"; do
    grep -Eq -- "$pattern" <<<"$text" || {
      printf 'not found: %s\n%s\n' "$pattern" "$text"
      exit 1
    }
  done
}

exports() {
  diff <(nm -D --defined-only "$1" | cut -d' ' -f3 | sort) - <<'NAMES'
GetQuorlException
GetQuorlLogger
ReleaseQuorlException
NAMES
}

hardening() {
  local facts
  facts=$(readelf -W --dynamic --segments --notes --dyn-syms "$1")
  has "$facts" 'SONAME.*\[libvellix\.so\.1\]' 'GNU_RELRO' 'FLAGS.*BIND_NOW' \
    'GNU_STACK .* RW +0x' ' __stack_chk_fail' ' __[a-z]+_chk' \
    'x86 feature: IBT, SHSTK'
  ! grep -E 'RPATH|RUNPATH|TEXTREL|NOOPEN|UNIQUE' <<<"$facts"
}

# headers <compiler> <standard> <header>...: each compiles alone.
headers() {
  local compiler=$1 standard=$2 header
  shift 2
  for header in "$@"; do
    "$compiler" -std="c++$standard" -fsyntax-only -I. -Wall -Wextra \
      -Wconversion -Wshadow -Wpedantic -Werror -x c++ - \
      <<<"#include \"$header\""
  done
}

record() {
  abidw --exported-interfaces-only --no-elf-needed --no-corpus-path \
    --no-comp-dir-path --no-show-locs --out-file "$2" "$1"
}

unchanged() {
  abidiff --exported-interfaces-only "$2" "$1"
}

"$@"
