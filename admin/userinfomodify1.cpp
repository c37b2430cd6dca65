// User_Info_Modify1.asp: an account's profile for the administrator, with the
// days of its activity log and the meeting start; saved by NewRegisterDo.asp.
#include "admin/account_form.h"
#include "frame/html.h"
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
        rs = conn.execute("select * from user where id="_sql + id);
        read_account(form, rs);
        write_head({.title = "Tavelor"});
        Response.line("<script language=\"JavaScript\" src=\"TavelorJS.js\"></script>");
        write_account_check(form);
        Response.lines(R"(
</head>
<body>
<table width="100%" border="0" cellspacing="0" cellpadding="0">
<tr><td height="25" align="center" bgcolor="#336699"><font color="#FFFFFF">系统管理 =>>用户信息修改</font></td></tr>
</table>
)");
        write_account_form(*this, form);
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(userinfomodify1, "User_Info_Modify1.asp",
             access::right("1904").with("shows no password; one set here must be changed at the next login"))

}  // namespace tav::pages
