# Data centre: the home page with 50 sections of seven items each, and one
# category's list holding 10,000 items (first page, a middle page, a search).
python3 - "$db" <<'PY'
import sqlite3, sys
db = sqlite3.connect(sys.argv[1])
codes = []
for n in range(4, 54):
    code = "41%02d" % n
    codes.append(code)
    db.execute("insert into menu(menu_id,menu_text,user_text,xm) values (?,?,?,?)",
               (code, "`images/arrow1.gif`,` 栏目%d`,`Data_list.asp?sub_menu=%s`, `detail`," % (n, code),
                "栏目%d" % n, "home"))
    db.executemany("insert into Datas(User_id,D_title,D_text,D_afile,Sub_menu,Main_menu) values (1,?,?,'0',?,'menu41')",
                   [("栏目%d 的第%d条" % (n, k), "正文", code) for k in range(9)])
db.execute("update user set menu_idstr=menu_idstr||? where username='admin'", (" " + " ".join(codes),))
db.executemany("insert into Datas(User_id,D_title,D_text,D_afile,Sub_menu,Main_menu,D_date) values (1,?,?,?,'3102','menu31',?)",
               [("工作简报第%d期" % k, "正文", "0" if k % 3 else "%dfile.doc" % k,
                 "2025-%02d-%02d %02d:%02d:00" % (1 + k % 12, 1 + k % 28, k % 24, k % 60)) for k in range(10000)])
db.commit()
PY
row "data_home.asp (50 sect.)" /data_home.asp sessions
row "Data_list.asp (10k, p=0)" "/Data_list.asp?Sub_menu=3102"
row "Data_list.asp (10k, p=500)" "/Data_list.asp?Sub_menu=3102&p=500"
row "Data_list.asp (10k, find)" "/Data_list.asp?Sub_menu=3102&sstr=%C6%DA"
