#!/usr/bin/env bash
# Installs the build into a temporary prefix and runs the installed programs from there: the
# host finds its libraries and the component through its own folder, not the build tree.
set -euo pipefail
build=$1
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
for f in bin/ormex-host bin/ormex-db lib/ormex/libOrmexCardManage.so lib/ormex/libormex_platform.so \
         include/ormex/module/Application.h share/ormex/schema.sql share/man/man1/ormex-db.1.gz \
         share/man/man1/ormex-host.1.gz share/applications/ormex-host.desktop \
         share/icons/hicolor/scalable/apps/ormex-host.svg share/doc/ormex-cardmanage/copyright; do
  [ -e "$prefix/$f" ] || { echo "not installed: $f"; exit 1; }
done
# Outputs are read whole before they are searched: grep -q stops at its first match, and a program
# still writing would die of SIGPIPE, which pipefail reports as a failure.
help=$("$prefix/bin/ormex-host" --help)
grep -q -- '--function' <<<"$help"
version=$("$prefix/bin/ormex-host" --version)
grep -q '^ormex-host [0-9]' <<<"$version"
help=$("$prefix/bin/ormex-db" --help)
grep -q 'ormex-db create' <<<"$help"
"$prefix/bin/ormex-db" create "$prefix/t.db" >/dev/null
rows=$("$prefix/bin/ormex-db" query "$prefix/t.db" "select count(*) as n from T_Pos_VipRecord")
grep -q '0' <<<"$rows"
echo "installed tree works"
