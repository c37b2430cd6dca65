// Checks the account, opens the session, trims the account's activity log
// and makes sure its personal folder exists.
#include <algorithm>
#include <chrono>

#include "frame/context.h"
#include "frame/files.h"
#include "frame/login_throttle.h"
#include "frame/page.h"
#include "frame/password.h"
#include "frame/paths.h"
#include "frame/vb.h"

namespace tav::pages {

namespace {

// A name the visitor typed, as one short line of the log.
std::string log_safe(std::string s) {
    if (s.size() > 64) s.resize(64);
    for (char& c : s)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
    return s;
}

}  // namespace

class loginverify : public Page {
public:
    void I_init() override {
        dbI_init();
        Value username = Trim(Request.Form("username"));
        Value password = Trim(Request.Form("password"));
        // Guessing is slowed per account from one address: while it must
        // wait, an attempt is answered as a wrong password without a check,
        // and every refusal is held back until the next attempt may count.
        // Keyed on both, so guesses from elsewhere never slow the owner at
        // their own desk.
        LoginThrottle* throttle = login_throttle();
        const std::string keys[] = {"u:" + lower(username.str()) + "@" + Request.ServerVariables("remote_addr")};
        auto pending = [&] {
            return throttle ? throttle->pending(keys[0]) : std::chrono::milliseconds(0);
        };
        if (pending().count() > 0) {
            if (Context* ctx = current_context(); ctx && ctx->log)
                ctx->log->write(2, "Tavelor.Refused throttle /loginverify.asp address " +
                                       Request.ServerVariables("remote_addr") + " account " + log_safe(username.str()) +
                                       " (" + std::to_string(pending().count()) + " ms to wait)");
            Response.object().hold_back(pending());
            Response.redirect("./login.asp?login=error");
            END_PAGE();
        }
        // The row is found by its name and the password checked here, never
        // in the statement: the stored text is a salted hash.
        rs = conn.execute("select id,record,password,must_change from user where username='"_sql + username + "'");
        while (!rs.eof() && !password::matches(password.str(), rs("password").str())) rs.movenext();
        if (rs.eof()) {
            if (throttle)
                for (const auto& key : keys) throttle->failed(key);
            Response.object().hold_back(pending());
            Response.redirect("./login.asp?login=error");
            END_PAGE();
        }
        // A row from before hashing keeps its clear text only until it is used.
        if (!password::is_hash(rs("password").str()))
            conn.execute("update user set password='"_sql + password::hash(password.str()) + "' where id=" + rs("id"));
        bool must_change = rs("must_change").str() == "1";
        if (throttle)
            for (const auto& key : keys) throttle->succeeded(key);
        Session.renew();  // a new id for the logged-in session
        Session.set("USER_ID", rs("id"));
        Session.set("QWX3TRh_k7", "yes");
        if (must_change) Session.set("must_change", "1");
        log_monitor(0, rs("record"));
        rs = conn.execute("select username from user where id="_sql + Session("user_id"));
        std::string folder = Server.MapPath(".\\") + "\\user\\" + rs("username") + "\\";
        FileSystemObject fso;
        if (!fso.FolderExists(folder)) fso.CreateFolder(folder);
        rs.close();
        conn.close();
        // A password the administrator set is changed before the desktop opens.
        Response.redirect(must_change ? "User_password_Modify.asp" : "./");
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

TAVELOR_PAGE(loginverify, "loginverify.asp",
             access::open().with("throttled; an old clear-text password becomes a hash at its login"))

}  // namespace tav::pages
