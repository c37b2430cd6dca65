# Media library: the catalogue page, 50 clients reading random 64 KiB ranges
# of a 100 MB file (against nginx serving the same file), and one 1 GiB
# upload through the maintenance save page with its time, rate and the
# server's peak resident memory growth.
python3 - "$db" <<'PY'
import sqlite3, sys
c = sqlite3.connect(sys.argv[1])
c.executemany("insert into Medium(Title,Medium_text,Path,filename,file_type,Author,PY) values(?,?,?,?,?,?,?)",
              [("song %d" % i, "about %d" % i, "/Medium/", "s%d.mp3" % i, "audio_mp3", "a", "ABCDEFGH"[i % 8])
               for i in range(5000)])
c.commit()
PY
row "Medium_list.asp p=3 PY=A" "/Medium_list.asp?p=3&PY=A" one
row "Sys_Medium.asp p=20" "/Sys_Medium.asp?p=20"

big=104857600
head -c "$big" /dev/urandom >"$tmp/site/Medium/big.mp3"
cp "$tmp/site/Medium/big.mp3" "$www/big.mp3"
chmod a+r "$www/big.mp3"
cat >"$tmp/ranges.lua" <<LUA
math.randomseed(7)
request = function()
  local s = math.random(0, $big - 65536)
  return wrk.format(nil, nil, { ["Range"] = "bytes=" .. s .. "-" .. (s + 65535) })
end
LUA
[ "$(curl -s -o /dev/null -w '%{http_code}' -H 'Range: bytes=0-9' "$base/Medium/big.mp3")" = 206 ] || echo "no 206 from us!"
read -r t_rate t_p99 t_bad < <(measure "$base/Medium/big.mp3" -s "$tmp/ranges.lua")
read -r n_rate n_p99 _ < <(measure "http://127.0.0.1:$nport/big.mp3" -s "$tmp/ranges.lua")
printf '%-26s %12s %12s %7s %12s %12s\n' "64 KiB ranges of 100 MB" "$t_rate" "$n_rate" \
  "$(awk -v a="$t_rate" -v b="$n_rate" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }')" "$t_p99" "$n_p99"
rm -f "$www/big.mp3" "$tmp/site/Medium/big.mp3"

head -c 1073741824 /dev/urandom >"$tmp/upload.mp3"
hwm_before="$(awk '/^VmHWM/ {print $2}' /proc/$pid/status)"
secs_up="$(curl -s -o /dev/null -w '%{time_total}' -H "Cookie: $cookie" -F "title=bench" -F "path=/Medium/" \
  -F "file_type=audio_mp3" -F "py=B" -F "filename=@$tmp/upload.mp3;filename=upload.mp3" \
  "$base/Sys_Medium_Modify_Save.asp")"
hwm_after="$(awk '/^VmHWM/ {print $2}' /proc/$pid/status)"
stored="$(stat -c %s "$tmp/site/Medium/upload.mp3" 2>/dev/null || echo 0)"
[ "$stored" = 1073741824 ] || echo "upload stored $stored bytes, not 1073741824!"
echo "1 GiB upload via Sys_Medium_Modify_Save.asp: ${secs_up}s, $(awk -v s="$secs_up" 'BEGIN { printf "%.0f", 1024 / s }') MB/s," \
  "peak RSS growth $(( (hwm_after - hwm_before) / 1024 )) MB (VmHWM $((hwm_before / 1024)) -> $((hwm_after / 1024)) MB)"
rm -f "$tmp/upload.mp3" "$tmp/site/Medium/upload.mp3"
