# The store of an office after years of use, made by SQL: 10k accounts,
# 1M items (one category of 200k, the rest over 40 more), 1M mails (the
# admin's inbox 200k), 100k guest-book threads, 1M activity-log rows and
# 20k address cards. Usage: fill_large.py DATABASE [SCALE]
import sqlite3, sys
db = sqlite3.connect(sys.argv[1], isolation_level=None)
# SCALE 1 fills it all; 10 a tenth of the items, mails, threads, log and
# cards, in the same shapes (the accounts and categories stay).
scale = int(sys.argv[2]) if len(sys.argv) > 2 else 1
last = lambda count: str(count // scale - 1)
db.execute("pragma synchronous=off")
db.execute("begin")
# 10k accounts beside the admin; every one a possible mail partner.
db.execute("""with recursive c(i) as (select 1 union all select i+1 from c where i < 9999)
  insert into user(username,password,TrueName,DepartMentID,menu_idstr,record,online,password_lose)
  select 'user'||i, 'pw', '职员'||i, 1, '', 30, i % 50 = 0, i % 997 = 0 from c""")
# 40 categories of 20k items each, and 200k in 3102.
codes = ["41%02d" % n for n in range(10, 50)]
for n, code in enumerate(codes):
    db.execute("insert into menu(menu_id,menu_text,user_text,xm) values (?,?,?,?)",
               (code, "`images/arrow1.gif`,` 栏目%d`,`Data_list.asp?sub_menu=%s`, `detail`," % (n, code),
                "栏目%d" % n, "home"))
db.execute("update user set menu_idstr=menu_idstr||? where username='admin'", (" " + " ".join(codes),))
db.execute("create temp table cats(k integer primary key, code text)")
db.executemany("insert into cats values (?,?)", list(enumerate(codes)))
# Dates repeat (one a minute over a cycle) so the order has ties.
db.execute("""with recursive c(i) as (select 0 union all select i+1 from c where i < """ + last(1000000) + """)
  insert into Datas(User_id,D_title,D_text,D_afile,Sub_menu,Main_menu,D_date)
  select 1, '工作简报第'||i||'期', '正文', case when i % 3 then '0' else i||'file.doc' end,
         case when i % 5 = 0 then '3102' else (select code from cats where k = i % 40) end,
         case when i % 5 = 0 then 'menu31' else 'menu41' end,
         strftime('%Y-%m-%d %H:%M:00', '2020-01-01', '+' || (i / 3) || ' minutes') from c""")
# 1M mails: every fifth to the admin (200k), the rest among the others.
db.execute("""with recursive c(i) as (select 0 union all select i+1 from c where i < """ + last(1000000) + """)
  insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_doc,Email_id,read)
  select case when i % 5 = 0 then 2 + i % 9999 else 1 end,
         case when i % 5 = 0 then 1 else 2 + i % 9999 end,
         '第'||i||'封 工作周报', '<p>正文</p>', case when i % 7 then '0' else i||'report.doc' end, i % 3, i % 4 = 0
  from c""")
db.execute("""with recursive c(i) as (select 0 union all select i+1 from c where i < """ + last(100000) + """)
  insert into Book(user_id,Book_title,Book_text,Reply_id,User_IP,Book_date)
  select 2 + i % 9999, '留言'||i, '内容', 0, '127.0.0.1',
         strftime('%Y-%m-%d %H:%M:00', '2020-01-01', '+' || (i / 2) || ' minutes') from c""")
db.execute("""with recursive c(i) as (select 0 union all select i+1 from c where i < """ + last(1000000) + """)
  insert into monitor(user_id,work_text,work_date)
  select 1 + i % 10000, '登录系统', strftime('%Y-%m-%d %H:%M:%S', '2020-01-01', '+' || i || ' seconds') from c""")
db.execute("""with recursive c(i) as (select 0 union all select i+1 from c where i < """ + last(20000) + """)
  insert into Address(User_id,Name,Work,Telphone,Mobile,Sex,Email)
  select 1, '联系人'||i, '单位', '010-'||i, '139'||i, '男', 'a'||i||'@x.cn' from c""")
db.execute("commit")
# Into the file itself: a WAL of a few hundred MB would slow the server's
# first reads and make its first write copy it all.
db.execute("pragma wal_checkpoint(TRUNCATE)")
