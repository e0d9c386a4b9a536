#!/usr/bin/env bash
# strace.sh <faults_test>: the built library in a host under system calls that
# fail. The host lives, and the log has the records that it should, each whole.
set -euo pipefail
host=$1
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
log=$directory/log
failed=0

# row <records of 20> <what is in the log before> <strace's inject>...
row() {
  local records=$1 before=$2 inject=() fault lines
  shift 2
  for fault in "$@"; do inject+=(-e "inject=$fault"); done
  rm -f "$log"
  [ -z "$before" ] || printf '%s\r\n' "$before" >"$log"
  VELLIX_HOST_LOG=$log strace -f -qq -o "$directory/trace" -P "$log" \
    "${inject[@]}" "$host" --gtest_filter=Hosts.LogAFewRecords \
    >"$directory/out" || { cat "$directory/out"; failed=1; }
  lines=$(grep -cE $'^\\[TM=.{24}\\] \\[TH=[0-9]+\\] \\[LV=INFO \\] \\[FR=host\\] \\[MG=[0-9]+\\] \\[BN=NULL\\]\r$' \
    "$log" 2>/dev/null || true)
  if [ "$lines" != "$records" ] ||
     { [ -n "$before" ] && [ "$(head -c ${#before} "$log")" != "$before" ]; } ||
     [ "$(wc -l <"$log")" != $((records + (${#before} > 0))) ]; then
    echo "row $records '$before' $*: $lines records"
    failed=1
  fi
}

for error in EIO ENOSPC EDQUOT EFBIG EAGAIN EINTR; do
  row 19 '' "write:error=$error:when=3"
done
for error in EIO ENOSPC EDQUOT EBADF; do
  row 10 kept "write:error=$error:when=1+2"
done
row 4 '' write:error=ENOSPC:when=5+
row 0 kept write:error=EPERM
row 15 '' write:error=EIO:when=6..10
row 19 '' write:retval=0:when=2
row 20 '' write:delay_enter=2000
row 20 kept write:signal=SIGURG
row 20 kept close:error=EIO
for error in EIO ENOMEM EINTR; do
  row 20 kept "newfstatat,stat:error=$error"
done
row 0 '' openat:error=EACCES:when=2
exit $failed
