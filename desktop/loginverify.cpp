// Checks the account, opens the session, trims the account's activity log
// and makes sure its personal folder exists.
#include "frame/files.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class loginverify : public Page {
public:
    void I_init() override {
        dbI_init();
        Response.buffer(true);
        Value username = Trim(Request.Form("username"));
        Value password = Trim(Request.Form("password"));
        rs = conn.execute("select id,record from user where username='"_sql + username + "' and password='" +
                          password + "'");
        if (rs.eof()) {
            Response.redirect("./login.asp?login=error");
            END_PAGE();
        }
        Session.set("USER_ID", rs("id"));
        Session.set("QWX3TRh_k7", "yes");
        log_monitor(0, rs("record"));
        rs = conn.execute("select username from user where id="_sql + Session("user_id"));
        std::string folder = Server.MapPath(".\\") + "\\user\\" + rs("username") + "\\";
        FileSystemObject fso;
        if (!fso.FolderExists(folder)) fso.CreateFolder(folder);
        rs.close();
        conn.close();
        Response.redirect("./");
        END_PAGE();
    }

private:
    void log_monitor(const Value& /*unused*/, const Value& days) {
        routine("log_monitor", [&] {
            Value user = Session("USER_ID");
            conn.execute("delete from monitor where user_id="_sql + user +
                         " and DateDiff('d', work_date,Now)>" + days);
            conn.execute("Insert into monitor(user_id,work_text) values ("_sql + user + ",'登录系统……')");
        });
    }
};

TAVELOR_PAGE(loginverify, "loginverify.asp")

}  // namespace tav::pages
