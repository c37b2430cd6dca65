#include "frame/access.h"

#include "frame/host.h"
#include "frame/html.h"
#include "frame/paths.h"
#include "frame/store.h"

namespace tav {

std::string Access::text() const {
    switch (kind) {
        case Kind::Public: return "public";
        case Kind::SignedIn: return "signed in";
        case Kind::Right: {
            std::string out = "right ";
            for (char c : codes) out += c == '|' ? std::string(" or ") : std::string(1, c);
            return out;
        }
        case Kind::Unset: break;
    }
    return "none (never runs)";
}

bool signed_in() {
    Context* ctx = current_context();
    if (!ctx || !ctx->session) return false;
    return ctx->session->get("qwx3trh_k7").str() == "yes" && !ctx->session->get("user_id").blank();
}

std::string session_account() { return signed_in() ? current_context()->session->get("user_id").str() : ""; }

bool holds_right(Connection& conn, std::string_view codes) {
    if (!signed_in()) return false;
    Recordset rs = conn.execute("select menu_idstr from user where id="_sql + current_context()->session->get("user_id"));
    if (rs.eof()) return false;
    std::string rights = rs("menu_idstr").str();
    std::size_t i = 0;
    while (i <= codes.size()) {
        std::size_t j = codes.find('|', i);
        if (j == std::string_view::npos) j = codes.size();
        std::string_view code = codes.substr(i, j - i);
        if (!code.empty() && rights.find(code) != std::string::npos) return true;
        i = j + 1;
    }
    return false;
}

bool holds_right(std::string_view codes) {
    Connection conn;
    conn.Open("driver={Microsoft Access Driver (*.mdb)};dbq=" + Server.object().database_path());
    bool ok = holds_right(conn, codes);
    conn.close();
    return ok;
}

namespace {

void log_refusal(const char* what, std::string_view why) {
    Context* ctx = current_context();
    if (!ctx || !ctx->log || !ctx->request) return;
    std::string account = ctx->session ? ctx->session->get("user_id").str() : "";
    ctx->log->write(2, std::string("Tavelor.Refused ") + what + " " + ctx->request->path() + " address " +
                           ctx->request->data().remote_addr + " account " + (account.empty() ? "-" : account) +
                           (why.empty() ? "" : " (" + std::string(why) + ")"));
}

}  // namespace

void send_to_login() {
    log_refusal("login", "");
    Response.redirect("login.asp");
    END_PAGE();
}

void refuse(std::string_view why) {
    log_refusal("right", why);
    ResponseObject& out = Response.object();
    out.body().clear();
    out.set_status(403);
    out.write("<html>\r\n<head>\r\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
              "<title>没有权限</title>\r\n<link rel=\"stylesheet\" href=\"style.css\" type=\"text/css\">\r\n</head>\r\n"
              "<body>\r\n<p align=\"center\"><br><br>您没有使用此功能的权限，请与系统管理员联系。</p>\r\n"
              "<p align=\"center\"><a href=\"#\" onclick=\"history.back();return false;\">返回</a></p>\r\n</body>\r\n</html>\r\n");
    END_PAGE();
}

void require_right(Connection& conn, std::string_view codes) {
    if (!signed_in()) send_to_login();
    if (!holds_right(conn, codes)) refuse(codes);
}

namespace {

// An account whose password the administrator set reaches only the page
// that changes it, until it has.
void require_own_password() {
    Context* ctx = current_context();
    if (ctx->session->get("must_change").str() != "1") return;
    const std::string& path = ctx->request->path();
    static const std::string page = "/user_password_modify.asp";
    if (path.size() >= page.size() && lower(path.substr(path.size() - page.size())) == page) return;
    Response.redirect("User_password_Modify.asp");
    END_PAGE();
}

}  // namespace

bool admit(const Access& rule) {
    try {
        switch (rule.kind) {
            case Access::Kind::Public: return true;
            case Access::Kind::SignedIn:
                if (!signed_in()) send_to_login();
                require_own_password();
                return true;
            case Access::Kind::Right:
                if (!signed_in()) send_to_login();
                require_own_password();
                if (!holds_right(rule.codes)) refuse(rule.codes);
                return true;
            case Access::Kind::Unset: refuse("no rule declared");
        }
    } catch (const EndPage&) {
    }
    return false;
}

}  // namespace tav
