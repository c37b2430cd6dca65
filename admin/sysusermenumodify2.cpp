// Sys_User_menu_ModifyDO.asp: the ticked boxes of the rights form become
// the account's rights string, in the order the browser posted them; the
// music and meeting boxes also set their own columns.
#include "admin/account_form.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class sysusermenumodify2 : public Page {
public:
    void I_init() override {
        dbI_init();
        Value id = Request.Form("id");
        // Rights are given by another holder of the right, never to oneself.
        if (is_own_account(id)) refuse("own rights");
        rs = conn.execute("select id,Truename from user where id="_sql + id);
        std::string rights;
        for (const auto& [name, value] : Request.object().form_fields().items())
            if (value == "on") rights += name + " ";
        // No box ticked leaves nothing to cut: the call fails and the old
        // rights stay.
        rights = Left(Value(rights), Len(Value(rights)) - 1);
        conn.execute("update user set menu_idstr='"_sql + rights + "' where id=" + id);
        if (Request.Form("plays") == "on")
            conn.execute("update user set plays=1 where id="_sql + id);
        else
            conn.execute("update user set plays=0 where id="_sql + id);
        if (Request.Form("start_meeting") == "on")
            conn.execute("update user set start_meeting=1 where id="_sql + id);
        else
            conn.execute("update user set start_meeting=0 where id="_sql + id);
        Response.redirect("Pop_OK.asp?message=修改用户权限成功！&next_href=Sys_User_Menu_modify.asp?id=" + id);
        END_PAGE();
    }
};

TAVELOR_PAGE(sysusermenumodify2, "Sys_User_menu_ModifyDO.asp",
             access::right("1902").with("refused for the own account"))

}  // namespace tav::pages
