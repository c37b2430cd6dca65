// Marks a lost password as handled. With a new password posted from the
// list it also sets that password, to be changed at the account's next login.
#include "frame/page.h"
#include "frame/password.h"
#include "frame/vb.h"

namespace tav::pages {

class syslosepassworddo : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.querystring("ID");
        Value newpassword = Trim(Request.Form("newpassword"));
        if (!newpassword.blank()) {
            if (!password::acceptable(newpassword.str())) {
                Response.redirect("Pop_OK.asp?message=密码中含有非法字符。&next_href=sys_losepassword.asp");
                END_PAGE();
            }
            conn.execute("update user set password='"_sql + password::hash(newpassword.str()) +
                         "',must_change=1 where id=" + id);
        }
        conn.execute("update user set password_lose=0 where id="_sql + id);
        Response.redirect("Pop_OK.asp?message=处理密码忘记成功！&next_href=sys_losepassword.asp");
        END_PAGE();
    }
};

TAVELOR_PAGE(syslosepassworddo, "sys_losepasswordDO.asp",
             access::right("1905").with("a posted new password is stored hashed, to be changed at the next login"))

}  // namespace tav::pages
