// Del_Record.asp: deletes one row of the named table and reports success.
// No login or rights test: the links that pages show are the only guard.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class delrecord : public Page {
public:
    delrecord() : Page("delrecord") {}
    void I_init() override {
        dbI_init();
        funI_init();
        Value ID = Request.querystring("ID");
        Value Table = Request.querystring("Table");
        conn.execute("delete from "_sql + sql_name(Table) + " where id=" + ID);
        monitor("删除数据库表：" + Table + " 记录ID号: " + ID);
        Response.redirect("Pop_OK.asp?message=记录成功删除！&next_href=" + Request.querystring("next"));
        END_PAGE();
    }
};

TAVELOR_PAGE(delrecord)

}  // namespace tav::pages
