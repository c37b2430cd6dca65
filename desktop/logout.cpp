// Regular logout: marks the account offline, ends the session, then goes to
// the login page or closes the window as the `logout` setting says.
#include "desktop/logout.h"

#include "frame/vb.h"

namespace tav::pages {

void logout::I_init() {
    dbI_init();
    sign_out("正常退出本系统");
    rs = setting("logout");
    if (rs("Hardserial") == "0") {
        Response.redirect("login.asp");
        END_PAGE();
    }
    close_window();
}

void logout::sign_out(const std::string& why) {
    if (!Session("USER_ID").blank()) {
        conn.execute("update user set online=0,ip=' ' where id="_sql + Session("USER_ID"));
        monitor(why);
    }
    Session.abandon();
}

void logout::close_window() {
    Response.client_compat(kCompatDialogs);
    Response.lines(R"(<script language="javascript">
window.close();
</script>
)");
}

TAVELOR_PAGE(logout, "logout.asp", access::open())

}  // namespace tav::pages
