# The card case and the ledger of one account holding 10,000 rows each (the
# admin, whose sessions the rows use): the first page, a deep page of the
# cards (the skip), and the ledger's newest ten.
python3 - "$db" <<'PY'
import sqlite3, sys
db = sqlite3.connect(sys.argv[1])
uid = db.execute("select id from user where username='admin'").fetchone()[0]
db.executemany("insert into Address(User_id,Name,Work,Telphone,Mobile,Sex,Email) values (?,?,?,?,?,?,?)",
               [(uid, "联系人%d" % i, "单位%d" % (i % 97), "0571-%08d" % i, "139%08d" % i, "男" if i % 2 else "女",
                 "c%d@example.cn" % i) for i in range(10000)])
db.executemany("insert into Record(user_id,Rec_title,Rec_text,Rec_money,Rec_date) values (?,?,?,?,?)",
               [(uid, "记载%d" % i, "无" if i % 3 == 0 else "事由%d" % i, i % 500 + 0.5,
                 "2025-%02d-%02d %02d:%02d:00" % (1 + i % 12, 1 + i % 28, i % 24, i % 60)) for i in range(10000)])
db.commit()
PY
row "Address_list.asp (10k)" /Address_list.asp sessions
row "Address_list.asp p=999" "/Address_list.asp?p=999" sessions
row "Record_List.asp (10k)" /Record_List.asp sessions
