#!/usr/bin/env bash
# A throwaway PostgreSQL cluster for the tests.
#
#   pg-test-cluster.sh start <dir>   makes a new cluster in <dir> (anything there is removed) and
#                                    starts it; <dir>/port holds its loopback TCP port and
#                                    <dir>/url a connection URL for its superuser "postgres"
#   pg-test-cluster.sh stop <dir>    stops it and removes <dir>
#
# The server listens on 127.0.0.1 and on a Unix socket in <dir>, and trusts local connections
# only. PostgreSQL refuses to run as root, so under root the cluster belongs to the "postgres"
# system user (ORMEX_PG_USER to choose another) and every server command runs as that user; when
# that user cannot reach <dir> (a build folder under /root), the cluster itself lives in a folder
# of its own under /tmp, named in <dir>/home.
# Durability is switched off: the cluster holds nothing worth keeping.
set -euo pipefail

usage() {
  echo "usage: $0 start|stop <dir>" >&2
  exit 2
}
[ $# -eq 2 ] || usage
action=$1
dir=$2
case "$dir" in /*) ;; *) dir="$PWD/$dir" ;; esac

bin=""
for candidate in $(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V -r); do
  if [ -x "$candidate/initdb" ] && [ -x "$candidate/pg_ctl" ]; then
    bin=$candidate
    break
  fi
done
[ -n "$bin" ] || { echo "$0: no PostgreSQL server found under /usr/lib/postgresql (install postgresql)" >&2; exit 1; }

as_owner=()
owner=$(id -un)
if [ "$(id -u)" -eq 0 ]; then
  owner=${ORMEX_PG_USER:-postgres}
  id "$owner" >/dev/null 2>&1 || { echo "$0: user '$owner' does not exist" >&2; exit 1; }
  as_owner=(runuser -u "$owner" --)
fi

# Where the cluster's files are: <dir>, or the folder <dir>/home names.
home_of() {
  if [ -f "$dir/home" ]; then cat "$dir/home"; else echo "$dir"; fi
}

stop_server() {
  local home
  home=$(home_of)
  if [ -f "$home/data/postmaster.pid" ]; then
    "${as_owner[@]}" "$bin/pg_ctl" -D "$home/data" -m fast -w -t 20 stop >/dev/null || true
  fi
  [ "$home" = "$dir" ] || rm -rf "$home"
}

# A port nobody listens on now. Another process may still take it before the server does; start
# then fails and is tried again with another port.
free_port() {
  local port
  for _ in $(seq 50); do
    port=$((20000 + RANDOM % 40000))
    if ! (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
      echo "$port"
      return
    fi
  done
  echo "$0: no free port found" >&2
  exit 1
}

case "$action" in
start)
  stop_server
  rm -rf "$dir"
  mkdir -p "$dir"
  home=$dir
  chown "$owner" "$dir"
  if ! "${as_owner[@]}" test -w "$dir"; then
    home=$(mktemp -d /tmp/ormex-pg-test.XXXXXX)
    chown "$owner" "$home"
    echo "$home" >"$dir/home"
  fi
  "${as_owner[@]}" "$bin/initdb" -D "$home/data" -U postgres -E UTF8 --locale=C.UTF-8 --auth=trust \
    --no-sync >"$dir/initdb.log" 2>&1 || { cat "$dir/initdb.log" >&2; exit 1; }
  # A socket path is limited to 107 bytes; a deeper folder gets TCP only.
  socket_dir=$home
  [ ${#home} -lt 90 ] || socket_dir=""
  cat >"$home/data/pg_hba.conf" <<EOF
local all all trust
host all all 127.0.0.1/32 trust
EOF
  for attempt in 1 2 3; do
    port=$(free_port)
    cat >"$home/data/postgresql.auto.conf" <<EOF
listen_addresses = '127.0.0.1'
port = $port
unix_socket_directories = '$socket_dir'
fsync = off
synchronous_commit = off
full_page_writes = off
max_connections = 100
shared_buffers = 128MB
EOF
    if "${as_owner[@]}" "$bin/pg_ctl" -D "$home/data" -l "$home/data/server.log" -w -t 20 start >/dev/null; then
      echo "$port" >"$dir/port"
      echo "postgresql://postgres@127.0.0.1:$port/postgres" >"$dir/url"
      echo "PostgreSQL test cluster in $home on port $port"
      exit 0
    fi
    echo "$0: start on port $port failed (attempt $attempt)" >&2
    tail -n 5 "$home/data/server.log" >&2 || true
  done
  exit 1
  ;;
stop)
  stop_server
  rm -rf "$dir"
  ;;
*)
  usage
  ;;
esac
