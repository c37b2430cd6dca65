// User_Info_Modify.asp: the own profile form; saving goes through
// NewRegisterDo.asp.
#include "admin/account_form.h"
#include "frame/page.h"

namespace tav::pages {

class userinfomodify : public Page {
public:
    void I_init() override {
        dbI_init();
        AccountForm form{.use = AccountForm::Use::OwnProfile};
        // The own row; another account's only with the right to manage them.
        Value id = Request.querystring("ID");
        if (id.blank()) id = Session("USER_ID");
        if (!is_own_account(id)) require_right(conn, "1904");
        form.id = id;
        write_profile_page(*this, form, "修改个人信息");
    }
};

TAVELOR_PAGE(userinfomodify, "User_Info_Modify.asp",
             access::signed_in().with("the own account; another's with right 1904"))

}  // namespace tav::pages
