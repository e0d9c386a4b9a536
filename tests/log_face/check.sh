#!/bin/sh
# check.sh <compiler> <directory of the sources> <object file>: a message below
# the threshold costs one load, one comparison, one branch and the return, in
# every form. Counts the instructions on the shortest way out of each function
# of off_level.cpp, but for the registers that the function itself saves.
set -eu
"$1" -std=c++17 -O2 -fcf-protection=none -I "$2" \
  -c "$2/tests/log_face/off_level.cpp" -o "$3"
objdump -d --no-show-raw-insn "$3" | awk '
  function shortest(i,    a, b) {
    if (i > last || code[i] == "call") return "1000 0"
    if (code[i] ~ /^ret/) return "1 0"
    if (code[i] == "jmp") return plus(shortest_at(target[i]), 0)
    if (code[i] ~ /^(push|pop)$/) return shortest(i + 1)
    if (code[i] !~ /^j/) return plus(shortest(i + 1), 0)
    split(plus(shortest_at(target[i]), 1), a)
    split(plus(shortest(i + 1), 1), b)
    return a[1] + 0 < b[1] + 0 ? a[1] " " a[2] : b[1] " " b[2]
  }
  function shortest_at(address) {
    return address in place ? shortest(place[address]) : "1000 0"
  }
  function plus(count, branches,    c) {
    split(count, c)
    return c[1] + 1 " " c[2] + branches
  }
  function report(    c) {
    if (name !~ /^off_[a-z]*$/) return
    split(shortest(1), c)
    ++functions
    print name ": " c[1] " instructions, " c[2] " branch"
    if (c[1] > 4 || c[2] != 1) bad = 1
  }
  / <.*>:$/ {
    report()
    name = $2; gsub(/[<>:]/, "", name)
    last = 0; split("", place); split("", code); split("", target)
    next
  }
  $1 ~ /:$/ {
    address = $1; sub(/:$/, "", address)
    place[address] = ++last; code[last] = $2; target[last] = $3
  }
  END {
    report()
    if (functions != 5) { print "found " functions + 0 " functions"; bad = 1 }
    exit bad
  }'
