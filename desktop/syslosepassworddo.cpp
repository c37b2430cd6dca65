// Marks a lost password as handled; clearing the flag is all there is to it.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class syslosepassworddo : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.querystring("ID");
        conn.execute("update user set password_lose=0 where id="_sql + id);
        Response.redirect("Pop_OK.asp?message=处理密码忘记成功！&next_href=sys_losepassword.asp");
        END_PAGE();
    }
};

TAVELOR_PAGE(syslosepassworddo, "sys_losepasswordDO.asp", access::right("1905"))

}  // namespace tav::pages
