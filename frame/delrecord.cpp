// Del_Record.asp: deletes one row of the named table and reports success.
// Only for a logged-in session; the table must be one of the schema's and
// the id a number, so one request deletes at most one row.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class delrecord : public Page {
public:
    void I_init() override {
        dbI_init();
        funI_init();
        require_login(LoginTest::IdOnly);
        Value ID = Request.querystring("ID");
        Value Table = Request.querystring("Table");
        // The guest book's delete links are offered to its managers only.
        if (LCase(Table) == "book") require_right(conn, "1204");
        conn.execute("delete from "_sql + sql_name(Table) + " where id=" + ID);
        monitor("删除数据库表：" + Table + " 记录ID号: " + ID);
        Response.redirect("Pop_OK.asp?message=记录成功删除！&next_href=" + Request.querystring("next"));
        END_PAGE();
    }
};

TAVELOR_PAGE(delrecord, "Del_Record.asp", access::signed_in().with("Table=Book needs 1204"))

}  // namespace tav::pages
