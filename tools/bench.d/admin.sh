# Administration: the activity log of one account with 100,000 lines (the
# list page shows them all on one page), and the account list of the log
# views with 2,000 accounts, first and last page.
python3 - "$db" <<'PY'
import sqlite3, sys
db = sqlite3.connect(sys.argv[1])
db.executemany("insert into user(username,password,TrueName,DepartMentID,sex,Telphone,record) values (?,?,?,?,?,?,30)",
               [("bench%04d" % i, "pw", "测试%d" % i, 1 + i % 5, "男", "0571-8888%04d" % i) for i in range(2000)])
uid = db.execute("select id from user where username='bench0000'").fetchone()[0]
db.executemany("insert into monitor(user_id,work_text,work_date) values (?,?,?)",
               [(uid, "查看邮件：第%d封" % i, "2026-11-%02d %02d:%02d:%02d" % (1 + i % 28, i % 24, i % 60, (i * 7) % 60))
                for i in range(100000)])
db.commit()
PY
log_id="$(python3 -c "import sqlite3,sys; print(sqlite3.connect(sys.argv[1]).execute(\"select id from user where username='bench0000'\").fetchone()[0])" "$db")"
row "log of 1 account (100k)" "/Sys_User_Active_List.asp?id=$log_id"
row "log accounts, first page" "/Sys_User_Active.asp?p=0"
row "log accounts, last page" "/Sys_User_Active.asp?p=200"
