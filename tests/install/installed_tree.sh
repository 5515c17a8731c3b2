#!/usr/bin/env bash
# Installs the build into a temporary prefix and runs the installed programs from there: the
# host finds its libraries and the component through its own folder, not the build tree.
set -euo pipefail
build=$1
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
for f in bin/ormex-host bin/ormex-db lib/ormex/libOrmexCardManage.so lib/ormex/libormex_platform.so \
         include/ormex/module/Application.h share/ormex/schema.sql; do
  [ -e "$prefix/$f" ] || { echo "not installed: $f"; exit 1; }
done
"$prefix/bin/ormex-host" --help | grep -q -- '--function'
"$prefix/bin/ormex-db" --help | grep -q 'ormex-db create'
"$prefix/bin/ormex-db" create "$prefix/t.db" >/dev/null
"$prefix/bin/ormex-db" query "$prefix/t.db" "select count(*) as n from T_Pos_VipRecord" | grep -q '0'
echo "installed tree works"
