// NewRegisterDo.asp: saves an account. Without an ID it registers a new one
// (folder and welcome mail included); with an ID it stores the edits of the
// profile forms.
#include "admin/account_form.h"
#include "frame/files.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/password.h"
#include "frame/paths.h"
#include "frame/vb.h"

namespace tav::pages {

namespace {

// The defaults of an empty registration field that belong to this site's
// place: the organisation sits in Hangzhou.
constexpr const char* kIdCardPrefix = "330102";
constexpr const char* kAreaCode = "0571";
constexpr const char* kPlace = "浙江省杭州市";
constexpr const char* kZip = "310002";
constexpr const char* kMailDomain = "office.example.com";

// An account name that can stand as one folder below user/: no separator,
// no dot name, nothing the disk would read as a path.
bool plain_folder_name(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\:*?\"<>|") == std::string::npos;
}

}  // namespace

class newregisterdo : public Page {
public:
    void I_init() override {
        dbI_init();
        Value ID = Trim(Request.Form("ID"));
        Value turename = Trim(Request.Form("turename"));
        Value username = Trim(Request.Form("username"));
        Value password = Trim(Request.Form("password"));
        Value Departmentid = Trim(Request.Form("Departmentid"));
        Value sex = Trim(Request.Form("sex"));
        Value start_meeting = or_default(Request.Form("start_meeting"), "0");
        Value IDCard = or_default(Request.Form("IDCard"), kIdCardPrefix);
        Value Telphone = or_default(Request.Form("Telphone"), std::string(kAreaCode) + "-");
        Value Mobile = or_default(Request.Form("Mobile"), "13*");
        Value Email = or_default(Request.Form("Email"), username.str() + "@" + kMailDomain);
        Value Duty = or_default(Request.Form("Duty"), "末填");
        Value Address = or_default(Request.Form("Address"), kPlace);
        Value SpeTech = or_default(Request.Form("SpeTech"), "末知");
        Value Zip = or_default(Request.Form("Zip"), kZip);
        Value UserRemark = or_default(Request.Form("UserRemark"), " ");
        Value record = Trim(Request.Form("record"));

        if (!ID.blank()) {
            update_account(ID, turename, username, password, Departmentid, IDCard, sex, start_meeting, Telphone,
                           Mobile, Email, Duty, Address, SpeTech, Zip, UserRemark, record);
            return;
        }

        admit_registration(*this);
        if (!plain_folder_name(username.str())) {
            bad_name();
            return;
        }
        rs = conn.execute("select id from user where username='"_sql + username + "'");
        // A folder left by a deleted or renamed account holds that account's
        // files: its name is not given again.
        if (!rs.eof() || FileSystemObject().FolderExists(Server.MapPath(".") + "\\user\\" + username.str())) {
            taken(username);
        } else {
            conn.execute("insert into user(TrueName,username,password,DepartMentID,IDCard,sex,Telphone,"
                         "Mobile,Email,Duty,Address,SpeTech,Zip,UserRemark) values ('"_sql +
                         turename + "','" + username + "','" + password::hash(password.str()) + "'," + Departmentid +
                         ",'" + IDCard + "','" + sex + "','" + Telphone + "','" + Mobile + "','" + Email + "','" +
                         Duty + "','" + Address + "','" + SpeTech + "','" + Zip + "','" + UserRemark + "')");
            FileSystemObject().CreateFolder(Server.MapPath(".") + "\\user\\" + username.str());
            rs = conn.execute("select top 1 id from user order by id DESC");
            std::string title = Session("dw_name").str() + "网络办公系统简介";
            send_email(0, rs("id"), title, "<a href=\"help.htm\" target=\"detail\">" + html_text(title) + "</a>", 0);
            Response.write("<br><br><br><br><br>恭喜您注册成功！账号: " + html_text(username) +
                           " 已经开通，欢迎使用！请<a href=\"#\" onclick=\"window.close(); return false;\">登录系统</a>！");
        }
        rs.close();
        conn.close();
    }

private:
    // The profile forms' save: the own row, or any row for a holder of the
    // right to manage accounts. The password changes here only by that
    // right (the own password is changed with the old one on its own page);
    // a password set for another account must be changed at its next login.
    void update_account(const Value& ID, const Value& turename, const Value& username, const Value& password,
                        const Value& Departmentid, const Value& IDCard, const Value& sex, const Value& start_meeting,
                        const Value& Telphone, const Value& Mobile, const Value& Email, const Value& Duty,
                        const Value& Address, const Value& SpeTech, const Value& Zip, const Value& UserRemark,
                        const Value& record) {
        if (!signed_in()) send_to_login();
        const bool manager = holds_right(conn, "1904");
        const bool own = is_own_account(ID);
        if (!own && !manager) refuse("another account");
        if (!plain_folder_name(username.str())) return bad_name();
        // A name is one account's, and so is the folder user/<name>/: a
        // rename to a taken name, or to a folder left by another account,
        // would hand over that account's files.
        Recordset other = conn.execute("select id from user where username='"_sql + username + "' and id<>" + ID);
        if (!other.eof()) return taken(username);
        Recordset current = conn.execute("select username from user where id="_sql + ID);
        if (!current.eof() && lower(Trim(current("username")).str()) != lower(username.str()) &&
            FileSystemObject().FolderExists(Server.MapPath(".") + "\\user\\" + username.str()))
            return taken(username);

        Sql update = "Update user set TrueName='"_sql + turename + "'," + "username='" + username + "',";
        if (manager && !password.blank()) {
            update = update + "password='" + password::hash(password.str()) + "',";
            update = update + (own ? "must_change=0," : "must_change=1,");
        }
        update = update + "DepartMentID='" + Departmentid + "'," + "IDCard='" + IDCard + "'," + "sex='" + sex + "'," +
                 "start_meeting=" + start_meeting + "," + "Telphone='" + Telphone + "'," + "Mobile='" + Mobile +
                 "'," + "Email='" + Email + "'," + "Duty='" + Duty + "'," + "Address='" + Address + "'," +
                 "SpeTech='" + SpeTech + "'," + "Zip='" + Zip + "',";
        // An empty box keeps the stored number of days; only the
        // administrator's form has the box.
        if (manager && !record.blank()) update = update + "record=" + record + ",";
        update = update + "UserRemark='" + UserRemark + "' where id=" + ID;
        conn.execute(update);
        monitor("修改用户: " + turename);
        Response.redirect("Pop_OK.asp?message=" + turename + " 的信息修改成功！&next_href=#");
        END_PAGE();
    }

    void taken(const Value& username) {
        Response.write("<br><br><br><br><br>用户账号: " + html_text(username) +
                       " 已经被别人占用，请<a href=\"#\" onclick=\"history.back(1); return false;\">重新填写</a>！");
    }
    void bad_name() {
        Response.write("<br><br><br><br><br>用户账号含有非法字符！请<a href=\"#\" onclick=\"history.back(1); "
                       "return false;\">重新填写</a>！");
    }

    static Value or_default(const Value& posted, const std::string& fallback) {
        Value v = Trim(posted);
        return v.blank() ? Value(fallback) : v;
    }
};

TAVELOR_PAGE(newregisterdo, "NewRegisterDo.asp",
             access::open().with("a new account while regnewuser allows it, else right 1904; with ID: signed in, "
                                 "the own row, or any row with right 1904"))

}  // namespace tav::pages
