# Both engines: the same pages on SQLite (the server above), on PostgreSQL
# with one server, and with two servers on it behind nginx (round robin),
# each beside nginx serving the bytes of the SQLite answer. The store is a
# tenth of the large suite's (100k items, 100k mails ...), moved into a
# throwaway cluster with `tavelor migrate`. Run as
#   tools/bench.sh 3 50 "" engines
# It needs PostgreSQL (tools/install-deps.sh test installs it).
[ -n "${pg_bin:-}" ] || source tools/pg_throwaway.sh
[ -x "$pg_bin/initdb" ] || { echo "engines: PostgreSQL is not installed" >&2; exit 1; }

t0=$(date +%s.%N)
python3 tools/bench.d/fill_large.py "$db" 10
echo "store filled in $(awk -v a="$t0" -v b="$(date +%s.%N)" 'BEGIN { printf "%.1f", b - a }') s"

pg_start "$(free_port)"
on_exit="${on_exit:-} pg_stop;"
cp -r "$tmp/site" "$tmp/site-pg"
rm -f "$tmp/site-pg/datebase/postgresql.url"
psql -q "$pg_url" -c "CREATE DATABASE bench"
t0=$(date +%s.%N)
"$bin/tavelor" migrate "$tmp/site-pg" "$(pg_url_of bench)" >"$tmp/migrate.out" 2>&1 ||
  { echo "migrate failed:" >&2; tail -5 "$tmp/migrate.out" >&2; exit 1; }
echo "moved into PostgreSQL in $(awk -v a="$t0" -v b="$(date +%s.%N)" 'BEGIN { printf "%.1f", b - a }') s"

# Two servers on the one database and folder, as two machines would mount it.
pg_ports=()
for i in 1 2; do
  p="$(free_port)"
  "$bin/tavelor" serve "$tmp/site-pg" --port "$p" --log "$tmp/app-pg$i.log" --trusted-proxy 127.0.0.1 \
    >"$tmp/serve-pg$i.out" 2>&1 &
  extra_pids="${extra_pids:-} $!"
  pg_ports+=("$p")
done
uport="$(free_port)"
mkdir -p "$tmp/upstream"
cat >"$tmp/upstream/nginx.conf" <<CONF
worker_processes auto;
daemon off;
pid $tmp/upstream/nginx.pid;
error_log $tmp/upstream/error.log;
events { worker_connections 1024; }
http {
  access_log off;
  client_body_temp_path $tmp/upstream/body;
  proxy_temp_path $tmp/upstream/proxy;
  fastcgi_temp_path $tmp/upstream/fastcgi;
  uwsgi_temp_path $tmp/upstream/uwsgi;
  scgi_temp_path $tmp/upstream/scgi;
  upstream tavelor {
    server 127.0.0.1:${pg_ports[0]};
    server 127.0.0.1:${pg_ports[1]};
    keepalive 64;
  }
  server {
    listen 127.0.0.1:$uport;
    location / {
      proxy_pass http://tavelor;
      proxy_http_version 1.1;
      proxy_set_header Connection "";
      proxy_set_header Host \$host;
      proxy_set_header X-Forwarded-For \$proxy_add_x_forwarded_for;
    }
  }
}
CONF
"$nginx_bin" -p "$tmp/upstream" -c "$tmp/upstream/nginx.conf" 2>"$tmp/upstream/start.err" &
extra_pids="${extra_pids:-} $!"
for u in "http://127.0.0.1:${pg_ports[0]}" "http://127.0.0.1:${pg_ports[1]}" "http://127.0.0.1:$uport"; do
  for _ in $(seq 100); do
    curl -s -o /dev/null "$u/login.asp" && break
    sleep 0.2
  done
done

# 50 signed-in sessions per target; each user from an address of its own.
sqlite_base="$base"
targets=("$sqlite_base" "http://127.0.0.1:${pg_ports[0]}" "http://127.0.0.1:$uport")
labels=(SQLite "PG 1 server" "PG 2 servers")
luas=()
cookies=()
for k in 0 1 2; do
  base="${targets[$k]}"
  signed_in_script "$tmp/engine$k.lua" 50 "10.8.$k"
  luas+=("$tmp/engine$k.lua")
  cookies+=("$cookie")
done
base="$sqlite_base"

echo "-- both engines, a tenth of the large site, 50 connections over 50 sessions, ${secs}s a run"
printf '%-24s %-13s %8s %10s %10s %6s %8s %5s\n' page engine bytes answers/s nginx/s ratio "p99 ms" non2xx
erow() {
  local name="$1" path="$2" file k bytes n_rate n_p99 t_rate t_p99 t_bad ratio
  file="engines_$(printf '%s' "${path#/}" | tr '?&=%/' '_____')"
  curl -s -H "Cookie: ${cookies[0]}" -o "$www/$file" "$sqlite_base$path"
  chmod a+r "$www/$file"
  read -r n_rate n_p99 _ < <(measure "http://127.0.0.1:$nport/$file")
  for k in 0 1 2; do
    bytes=$(curl -s -o /dev/null -H "Cookie: ${cookies[$k]}" -w '%{size_download}' "${targets[$k]}$path")
    read -r t_rate t_p99 t_bad < <(measure "${targets[$k]}$path" -s "${luas[$k]}")
    ratio="$(awk -v a="$t_rate" -v b="$n_rate" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }')"
    printf '%-24s %-13s %8s %10s %10s %6s %8s %5s\n' "$name" "${labels[$k]}" "$bytes" "$t_rate" "$n_rate" "$ratio" \
      "$t_p99" "$t_bad"
  done
}
erow "sysmonitor.asp" "/sysmonitor.asp"
erow "data_home.asp" "/data_home.asp"
erow "Data_list first" "/Data_list.asp?Sub_menu=3102"
erow "Data_list last" "/Data_list.asp?Sub_menu=3102&p=1999"
erow "Data_list search" "/Data_list.asp?Sub_menu=3102&sstr=%B5%DA4240%C6%DA"
erow "Email_list inbox" "/Email_list.asp?type=0"
erow "Email_list last" "/Email_list.asp?type=0&p=2000"
erow "Book_list first" "/Book_list.asp"
erow "Sys_User first" "/Sys_User.asp"
