# Guest book and chat room. Sourced by tools/bench.sh (see README.md).
# 10,000 threads by the admin, each with one reply: the list's first page,
# and the admin's unread replies with the ten news on the newest threads
# (found at once) and then on the oldest (every thread looked at first).
python3 - "$db" <<'PY'
import sqlite3, sys
db = sqlite3.connect(sys.argv[1])
admin = db.execute("select id from user where username='admin'").fetchone()[0]
db.executemany("insert into Book(user_id,Book_title,book_text,Reply_id,User_IP,Reply_num) values (?,?,?,0,'10.0.0.1',1)",
               [(admin, f"thread {i}", f"<p>text of thread {i}</p>") for i in range(10000)])
db.execute("insert into Book(user_id,Book_title,book_text,Reply_id,User_IP,reply_read) "
           "select user_id,'re','<p>re</p>',id,'10.0.0.2',1 from Book where Reply_id=0")
db.execute("update Book set reply_read=0 where Reply_id in (select id from Book where Reply_id=0 order by id desc limit 10)")
db.executemany("insert into Chat(user_id,Chat_text,Truename,To_username) values (?,?,?,?)",
               [(admin, f"line {i}", "系统管理员", " ") for i in range(300)])
db.commit()
PY
row "Book_list.asp (10k)" /Book_list.asp
row "book_list1.asp (news new)" /book_list1.asp sessions
python3 - "$db" <<'PY'
import sqlite3, sys
db = sqlite3.connect(sys.argv[1])
db.execute("update Book set reply_read=1 where Reply_id<>0")
db.execute("update Book set reply_read=0 where Reply_id in (select id from Book where Reply_id=0 order by id limit 10)")
db.commit()
PY
row "book_list1.asp (news old)" /book_list1.asp sessions
row "Chat_Show.asp (100 lines)" /Chat_Show.asp sessions
# 200 desktops left on the chat room for a minute (or $CHAT_LOAD_SECS).
python3 tools/chat_load.py "$base" "$pid" "${CHAT_LOAD_SECS:-60}" 200
