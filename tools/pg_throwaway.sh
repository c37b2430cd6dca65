# Sourced: a throwaway PostgreSQL cluster for tests and benchmarks.
# initdb refuses root: the cluster belongs to an unprivileged user, in a
# temporary folder with its own socket and port; nothing in it must
# survive a crash, so it never syncs.
#   pg_start PORT   starts it; sets pg_dir, pg_url (its postgres database)
#   pg_url_of NAME  the URL of database NAME on it
#   pg_stop         stops it and removes the folder (safe to call twice)
pg_bin="$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -1)"
pg_dir=""
pg_run() { if [ "$(id -u)" -eq 0 ]; then runuser -u nobody -- "$@"; else "$@"; fi; }
pg_start() {
  local port="$1"
  pg_dir="$(mktemp -d /tmp/tavelor-pg-XXXXXX)"
  pg_port="$port"
  [ "$(id -u)" -ne 0 ] || chown nobody:nogroup "$pg_dir"
  pg_run "$pg_bin/initdb" -D "$pg_dir/data" -U tavelor --auth=trust -E UTF8 --locale=C.UTF-8 >/dev/null
  pg_run "$pg_bin/pg_ctl" -D "$pg_dir/data" -l "$pg_dir/log" -w -o \
    "-k $pg_dir -p $port -c listen_addresses='' -c fsync=off -c synchronous_commit=off -c full_page_writes=off -c max_connections=200" \
    start >/dev/null
  pg_url="$(pg_url_of postgres)"
}
pg_url_of() { echo "postgresql:///$1?host=$pg_dir&port=$pg_port&user=tavelor"; }
pg_stop() {
  [ -n "$pg_dir" ] || return 0
  pg_run "$pg_bin/pg_ctl" -D "$pg_dir/data" -m immediate stop >/dev/null 2>&1 || true
  rm -rf "$pg_dir"
  pg_dir=""
}
