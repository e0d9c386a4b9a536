#!/bin/bash
# check.sh <compiler> <directory of the sources> <directory of the libraries>
#          <directory to work in>: what the documents show compiles, runs and
# gives what they say; what their commands and links name is there.
set -euo pipefail
compiler=$1 root=$2 libraries=$3 out=$4
failed=0

complain() {
  printf '%s\n' "$*" >&2
  failed=1
}

# Times, thread ids and lines of the sources differ from run to run.
masked() {
  tr -d '\r' | sed -E 's/TM=[^]]*/TM=/; s/TH=[0-9]+/TH=/; s/Line: [0-9]+/Line: /'
}

compile() {
  "$compiler" -std=c++17 -Wall -Wextra -Wno-unused -Werror -I "$root" -I "$out" \
    "$@"
}

check_program() {
  local source=$1 name=${1%.cpp}
  mkdir "$name.run"
  ln -s "$libraries"/libvellix.so.1 "$name.run"
  compile "$source" -o "$name.run/program" -L "$libraries" -lvellix_toolkit \
    -lvellix -Wl,-rpath,"$libraries" -pthread -ldl || return 1
  (cd "$name.run" && ./program >output) || return 1
  [ -e "$name.text" ] || return 0
  (cd "$name.run" && find . -name '*.log' -exec cat {} + >>output)
  diff <(masked <"$name.text") <(masked <"$name.run/output")
}

# check_command <place> <word>...
check_command() {
  local place=$1 previous= word
  shift
  for word in "$@"; do
    case $previous in
      ./run) grep -q "^  $word)" run || complain "$place no ./run $word" ;;
      --preset) grep -q "\"name\": \"$word\"" CMakePresets.json ||
        complain "$place no preset $word" ;;
      --target) grep -rqw --include=CMakeLists.txt "$word" . ||
        complain "$place no target $word" ;;
      -L) grep -rqw --include=CMakeLists.txt "LABELS $word" . ||
        complain "$place no label $word" ;;
    esac
    case $word in
      build/*) grep -rqw --include=CMakeLists.txt "${word##*/}" . ||
        complain "$place nothing makes $word" ;;
      ./* | .ci/*) [ -x "$word" ] || complain "$place no command $word" ;;
      -DVELLIX_*) word=${word%%=*}
        grep -rqw "${word#-D}" CMakeLists.txt cmake ||
          complain "$place no option $word" ;;
    esac
    previous=$word
  done
}

check_links() {
  local file=$1 link
  while read -r link; do
    [ -e "$(dirname "$file")/$link" ] || complain "$file: no $link"
  done < <(sed '/^ *```/,/^ *```/d' "$file" | grep -oE '\]\([^)#]+' | cut -c3- |
    grep -v '^https\?:' || true)
}

rm -rf "$out"
mkdir -p "$out"
cd "$root"
for header in vellix/*.h; do
  case $header in *_internal.h | *_platform.h) continue ;; esac
  grep -q "$(basename "$header")" CMakeLists.txt && echo "#include \"$header\""
done >"$out/all_headers.h" || true
documents=(*.md docs/*.md)
: >"$out/commands"
read -r fragments programs < <(awk -v out="$out" -f tests/docs/blocks.awk \
  "${documents[@]}")
echo "${#documents[@]} documents: $fragments fragments, $programs programs," \
  "$(wc -l <"$out/commands") commands"
[ "$fragments" -gt 0 ] && [ "$programs" -gt 0 ] || complain "no code found"

compile -fsyntax-only "$out/fragments.cpp" || failed=1
for source in "$out"/program_*.cpp; do
  check_program "$source" || complain "$(head -1 "$source")"
done
while read -r place line; do
  read -ra words <<<"${line%%#*}"
  check_command "$place" "${words[@]}"
done <"$out/commands"
for file in "${documents[@]}"; do
  check_links "$file"
done
exit $failed
