// NewRegister.asp: the form for a new account, for a visitor from the login
// page and for an administrator alike.
#include "admin/account_form.h"
#include "frame/html.h"
#include "frame/page.h"

namespace tav::pages {

class newregister : public Page {
public:
    void I_init() override {
        dbI_init();
        admit_registration(*this);
        write_head({.title = "欢迎注册" + Session("dw_name") + "网络办公系统"});
        Response.line("<script language=\"JavaScript\" src=\"TavelorJS.js\"></script>");
        AccountForm form;
        write_account_check(form);
        Response.lines(R"(
</head>
<body>
<table width="100%" border="0" cellspacing="0" cellpadding="0">
<tr><td height="25" align="center" bgcolor="#336699"><font color="#FFFFFF">新用户注册</font></td></tr>
</table>
)");
        write_account_form(*this, form);
        Response.line("</body>");
        Response.line("</html>");
    }
};

TAVELOR_PAGE(newregister, "NewRegister.asp", access::open().with("while regnewuser allows it, else right 1904"))

}  // namespace tav::pages
