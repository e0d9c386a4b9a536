#!/bin/sh
# operators.sh <step> <word of the host's command>...: a host beside the tools of
# those who operate it, which .ci/tools.sh unpacks into build/tools.
set -eu
cd "$(dirname "$0")/.."
tool=$PWD/.ci/unpacked
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT

# The entries, as journalctl reads them. The journal adds time and boot itself.
journal() {
  "$@" - |
    sed "s/^PRIORITY/__REALTIME_TIMESTAMP=1\n_BOOT_ID=$(printf %032d 1)\n&/" |
    "$tool" systemd-journal-remote -o "$work/own.journal" -
  "$tool" journalctl --file "$work/own.journal" -p err VELLIX_SOURCE=net \
    -o cat --output-fields=PRIORITY,VELLIX_DATA,MESSAGE | sort >"$work/seen"
  printf '%s\n' '0F A0 ' 3 'bad\npacket' | diff - "$work/seen"
}

# logrotate, with the configuration of docs/operations.md, loses no record.
rotation() {
  sed -n '/^\/var.*{/,/^}/p' docs/operations.md |
    sed "s|/var/log/service|$work/vellix_service|; s/ service adm//
         s/pkill .*/kill -HUP \$HOST/" >"$work/conf"
  chmod 600 "$work/conf"
  rotate="$tool logrotate -f -s $work/state $work/conf"
  cd "$work"
  written=$(sh -c 'export HOST=$$ && exec "$@"' sh "$@" "$rotate")
  found=$(zcat -f "$work"/vellix_service.log* | grep -c '] \[BN=NULL\].$')
  echo "$written, found: $found"
  [ "$written" = "records written: $found, lost: 0" ]
  grep -q 'MG=the last' "$work/vellix_service.log"
  ls "$work/vellix_service.log.2.gz"
}

"$@"
