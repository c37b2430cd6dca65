// Record_Save.asp: adds a ledger row (no id), deletes the row of an id when
// the subject is exactly "del", and otherwise changes it. Only the
// account's own rows: another account's id changes nothing.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class recordsave : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Trim(Request.querystring("id"));
        Value title = Trim(Request.querystring("Rec_Title"));
        Value text = Trim(Request.querystring("Rec_Text"));
        Value money;
        // An empty text was once meant to read "无"; the amount read below
        // takes the variable, so the text stays empty.
        if (text.blank()) money = "无";
        money = Trim(Request.querystring("Rec_money"));
        if (money.blank()) money = 0;

        if (id.blank()) {
            conn.execute("Insert into Record(user_id,Rec_title,Rec_text,Rec_money) values "_sql + "(" +
                         Session("USER_ID") + ",'" + title + "','" + text + "'," + money + ")");
            Response.redirect("Pop_OK.asp?message=增加新记录成功！&next_href=Record_list.asp");
            END_PAGE();
        }
        if (title == "del") {
            conn.execute("delete from Record where id="_sql + id + " and user_id=" + Session("USER_ID"));
            Response.redirect("Pop_OK.asp?message=删除记录成功！&next_href=Record_list.asp");
            END_PAGE();
        }
        conn.execute("Update Record set Rec_title='"_sql + title + "',Rec_text='" + text + "',Rec_money=" + money +
                     " where id=" + id + " and user_id=" + Session("USER_ID"));
        Response.redirect("Pop_OK.asp?message=此记录已经被你修改！&next_href=Record_list.asp");
        END_PAGE();
    }
};

TAVELOR_PAGE(recordsave, "Record_Save.asp", access::signed_in().with("own rows only"))

}  // namespace tav::pages
