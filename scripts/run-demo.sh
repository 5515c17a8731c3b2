#!/usr/bin/env bash
# Installs what is missing, builds, creates the demo branch and headquarters databases in the
# data folder (first run only) and starts the main job on them.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
export BUILD_DIR=${BUILD_DIR:-$root/build}
"$root/scripts/build.sh"
data=${ORMEX_DATA:-$root/data}
mkdir -p "$data"
bin="$BUILD_DIR/bin"
if [ -x "$bin/ormex-db" ]; then
  # Demo databases made before the cards were sealed (no key beside them) or before the operators
  # logged in (no users) are made again; the old files are kept as *.before-seals.
  if [ -f "$data/branch.db" ] && { ! grep -qs '^seal-key=' "$data/host.conf" ||
       ! "$bin/ormex-db" query "$data/branch.db" "select count(*) as n from t_User" 2>/dev/null | grep -qx '[1-9][0-9]*'; }; then
    echo "The demo databases in $data predate the card seals or the operators: making them again"
    for f in branch.db HQ.db; do
      [ -f "$data/$f" ] && mv "$data/$f" "$data/$f.before-seals"
      rm -f "$data/$f-wal" "$data/$f-shm"
    done
  fi
  [ -f "$data/branch.db" ] || "$bin/ormex-db" demo --branch "$data/branch.db" --hq "$data/HQ.db"
  if [ -x "$bin/ormex-host" ]; then
    # The login window offers the demo administrator (admin; password ormex-demo, see README).
    exec "$bin/ormex-host" --data "$data" --database branch.db --user admin "$@"
  fi
  exec "$bin/ormex-db" query "$data/branch.db" \
    "select FCardId,FVipName,FCardStatus,FCardType,FAccNum-FDecNum as cur_num,dbo.f_decrypt(FResidualAmt) as balance from T_Pos_VipRecord where FCardId like '%0_'"
fi
echo "ormex-db was not built" >&2
exit 1
