// Regular logout: marks the account offline, ends the session, then goes to
// the login page or closes the window as the `logout` setting says.
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class logout : public Page {
public:
    void I_init() override {
        dbI_init();
        if (!Session("USER_ID").blank()) {
            conn.execute("update user set online=0,ip=' ' where id="_sql + Session("USER_ID"));
            monitor("正常退出本系统");
        }
        Session.abandon();
        rs = setting("logout");
        if (rs("Hardserial") == "0") {
            Response.redirect("login.asp");
            END_PAGE();
        }
        // In a frame, close() asks the top window, as the desktop's frames did.
        Response.client_compat(kCompatDialogs);
        Response.lines(R"(<script language="javascript">
window.close();
</script>
)");
        Response.write("");
    }
};

TAVELOR_PAGE(logout, "logout.asp", access::open())

}  // namespace tav::pages
