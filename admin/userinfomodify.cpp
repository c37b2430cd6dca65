// User_Info_Modify.asp: the own profile form; saving goes through
// NewRegisterDo.asp.
#include "admin/account_form.h"
#include "frame/html.h"
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
        rs = conn.execute("select * from user where id="_sql + id);
        read_account(form, rs);
        write_head({.title = "Tavelor"});
        Response.line("<script language=\"JavaScript\" src=\"TavelorJS.js\"></script>");
        write_account_check(form);
        Response.lines(R"(
</head>
<body>
<table width="100%" border="0" cellspacing="0" cellpadding="0">
<tr><td height="25" align="center" bgcolor="#336699"><font color="#FFFFFF">修改个人信息</font></td></tr>
</table>
)");
        write_account_form(*this, form);
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(userinfomodify, "User_Info_Modify.asp",
             access::signed_in().with("the own account; another's with right 1904"))

}  // namespace tav::pages
