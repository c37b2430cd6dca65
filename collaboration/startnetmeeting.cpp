// start_netmeeting.asp: loaded at login into the hidden frame for accounts
// that start the conferencing control. Holders of entry 1408 get the control
// and can be called; everybody then goes on to the desktop's start page.
#include "collaboration/netmeetingcontrol.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class startnetmeeting : public Page {
public:
    void I_init() override {
        dbI_init();
        rs = user_rights();
        Value rights = rs("menu_idstr");
        write_head({.style = false});
        Response.line("</head>");
        Response.line("<body>");
        // Anywhere in the string, also inside a longer number.
        if (InStr(rights, "1408") > 0) Response.line(kNetMeetingObject);
        rs.close();
        conn.close();
        Response.lines(R"(
<form name="form1" method="get" action="started.asp" target="detail">
</form>
<script language="JavaScript">
document.form1.submit();
</script>
</body>
</html>
)");
    }
};

TAVELOR_PAGE(startnetmeeting, "start_netmeeting.asp", access::signed_in())

}  // namespace tav::pages
