# Mail: the admin's inbox of 50,000 mails (and as many for other accounts,
# so the index has to pick), first page and last page of Email_list.asp.
python3 - "$db" <<'PY'
import sqlite3, sys
con = sqlite3.connect(sys.argv[1])
cur = con.cursor()
cur.execute("insert into user(username,password,TrueName,DepartMentID,menu_idstr,record) values ('benchmate','pw','同事',1,'',30)")
mate = cur.lastrowid
rows = []
for i in range(100000):
    to = 1 if i % 2 == 0 else mate
    frm = mate if to == 1 else 1
    doc = "0" if i % 7 else f"{i}1report.doc"
    rows.append((frm, to, f"第{i}封 工作周报", "<p>正文</p>", doc, i % 3, i % 5 == 0))
cur.executemany("insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_doc,Email_id,read) values (?,?,?,?,?,?,?)", rows)
con.commit()
PY
row "Email_list.asp p=0" "/Email_list.asp?type=0" sessions
row "Email_list.asp last p" "/Email_list.asp?type=0&p=5000" sessions
