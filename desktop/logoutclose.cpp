// Logout for a desktop window that is being closed: never redirects.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class logoutclose : public Page {
public:
    void I_init() override {
        dbI_init();
        Value myclose = Request.querystring("myclose");
        (void)myclose;
        if (!Session("USER_ID").blank()) {
            conn.execute("update user set online=0,ip=' ' where id="_sql + Session("USER_ID"));
            monitor("非正常退出本系统");
        }
        Session.abandon();
        // In a frame, close() asks the top window, as the desktop's frames did.
        Response.client_compat(kCompatDialogs);
        Response.lines(R"(<script language="javascript">
window.close();
</script>
)");
        Response.write("");
    }
};

TAVELOR_PAGE(logoutclose, "logout_close.asp", access::open())

}  // namespace tav::pages
