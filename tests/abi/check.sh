#!/usr/bin/env bash
# check.sh <step> <argument>...: one check of library, headers or sources.
set -euo pipefail
cd "$(dirname "$0")/../.."

exports() {
  diff <(readelf -W --dyn-syms "$1" | sed -En '/ UND | LOCAL /!s/^ *[0-9].* //p' | sort) \
    <(printf '%s\n' GetQuorlException GetQuorlLogger ReleaseQuorlException)
}

# What the Release build promises, and lintian does not look at.
release() {
  readelf -W --dyn-syms "$1" | grep __stack_chk_fail
  ! readelf -h "$1" | grep X86-64 || readelf -n "$1" | grep 'feature: IBT, SHSTK'
}

# headers <compiler>...: each compiles alone.
headers() {
  for compiler in "$@"; do
    for standard in 17 20 2b; do
      grep -oE '^    [a-z_]+\.h' CMakeLists.txt | xargs -P 2 -I{} "$compiler" \
        "-std=c++$standard" -fsyntax-only -I. -Wall -Wextra -Wconversion \
        -Wshadow -Wpedantic -Werror -include vellix/{} -x c++ /dev/null
    done
  done
}

# formats <compiler>...: a call whose arguments do not fit its format is reported.
formats() {
  local compiler mode calls='log.Debugf("%s", 42); log.Infof("%d", text);
    log.Warnf("%d"); log.Errorf("%d", 1, 2); log.Fatalf(text);
    log.Writef(QuorlBased::LogInfo, "%s", 42); QuorlBased::Format("%s", 42);
    log.Info(BRACES("{:d}"), text);'
  for compiler in "$@"; do
    for mode in '17 -DBRACES=FMT_STRING' '20 -DBRACES='; do
      diff <(seq 8) <("$compiler" -std=c++$mode -fsyntax-only -I. -Wformat=2 -include \
        vellix/log_fmt.h -include vellix/sysutils_strings.h -x c++ - 2>&1 \
        <<<"void Call(const vellix::Log& log, const char* text) { ${calls//; /;$'\n'} }" |
        sed -nE 's/^<stdin>:([0-9]+):.*/\1/p' | sort -u)
    done
  done
}

# hidden <compiler>...: no module lends its copy of the headers to another one.
hidden() {
  local compiler module=$(mktemp)
  for compiler in "$@"; do
    "$compiler" -std=c++17 -fkeep-inline-functions -shared -fPIC -I. -o "$module" \
      -include vellix/crash.h -include vellix/loader.h -include vellix/targets.h \
      examples/format_braces.cpp
    ! nm -DC "$module" | grep 'vellix::' || exit 1
  done
  rm "$module"
}

# Includes point down only: no loops, no core in the toolkit, none in the platform.
layers() {
  grep -oE '^#include "vellix/[^"]+' vellix/*.h | sed 's/:#include "/ /' |
    tsort >/dev/null
  core=$(sed -n '/vellix_core_objects OBJECT/,/)/p' CMakeLists.txt |
    grep -oE 'vellix/[a-z_]+\.cpp')
  own=$(sed 's/cpp$/h/' <<<"$core" | grep -vx vellix/logger.h)
  ! grep -nF "$own" $(ls vellix/* | grep -vxF "$core"$'\n'"$own") || exit 1
  ! grep -n '"vellix/' vellix/sysutils_platform.h || exit 1
}

unchanged() {
  abidiff --exported-interfaces-only tests/abi/vellix.abi "$1"
}

"$@"
