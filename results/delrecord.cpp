// Del_Record.asp: deletes one row of a table and reports success. Only the
// rows that some page offers to this account through Pop_Del.asp may go:
// each table below stands with the right (or the row's owner) of the page
// that offers its delete link; every other table is refused. The id must be
// a number, so one request deletes at most one row.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class delrecord : public Page {
public:
    void I_init() override {
        dbI_init();
        Value ID = Request.querystring("ID");
        Value Table = Request.querystring("Table");
        allowed(LCase(Table), ID);
        conn.execute("delete from "_sql + sql_name(Table) + " where id=" + ID);
        monitor("删除数据库表：" + Table + " 记录ID号: " + ID);
        Response.redirect("Pop_OK.asp?message=记录成功删除！&next_href=" + Request.querystring("next"));
        END_PAGE();
    }

private:
    // Ends the page unless the account may delete this row of this table.
    void allowed(const std::string& table, const Value& ID) {
        if (table == "user") {  // Sys_User.asp
            require_right(conn, "1904");
            if (IsNumeric(ID) && !session_account().empty() && ID.num() == Value(session_account()).num())
                refuse("不能删除自己正在使用的账号");
        } else if (table == "book") {  // the guest book's manager view
            require_right(conn, "1204");
        } else if (table == "department") {  // type_modify.asp?Dtable=DepartMent
            require_right(conn, "1906");
        } else if (table == "word_type") {  // type_modify.asp?Dtable=word_type
            require_right(conn, "1907");
        } else if (table == "menu") {
            // Data_type.asp offers its own main menu's categories, nothing
            // else of the table: the other rows are the navigation itself.
            Recordset row = conn.execute("select menu_id,user_text from menu where id="_sql + ID);
            if (row.eof()) return;  // nothing to delete: the statement hits no row
            Value code = row("menu_id");
            // A category: neither the entry row (NN01) nor a fixed A-row, and named.
            if (InStr(code, "A") > 0 || InStr(code, "01") > 0 || Trim(row("user_text")).str().empty())
                refuse("此菜单项不能删除");
            require_right(conn, Left(code, 2) + "A9");
        } else {
            refuse("此表的记录不能在这里删除");
        }
    }
};

TAVELOR_PAGE(delrecord, "Del_Record.asp",
             access::signed_in().with("by Table: User 1904 (never the own account), Book 1204, DepartMent 1906, "
                                      "word_type 1907, menu a category of main menu NN with NNA9; any other table "
                                      "refused"))

}  // namespace tav::pages
