// User_Info_Modify1.asp: an account's profile for the administrator, with the
// days of its activity log and the meeting start; saved by NewRegisterDo.asp.
#include "admin/account_form.h"
#include "frame/page.h"

namespace tav::pages {

class userinfomodify1 : public Page {
public:
    void I_init() override {
        dbI_init();
        AccountForm form{.use = AccountForm::Use::AdminProfile};
        Value id = Request.querystring("id");
        if (id.blank()) id = Session("USER_ID");
        form.id = id;
        write_profile_page(*this, form, "系统管理 =>>用户信息修改");
    }
};

TAVELOR_PAGE(userinfomodify1, "User_Info_Modify1.asp",
             access::right("1904").with("shows no password; one set here must be changed at the next login"))

}  // namespace tav::pages
