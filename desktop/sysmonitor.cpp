// The hidden frame "monitorbottom": at each reload it counts what awaits
// the account and rewrites the status cells of the bottom frame, whose tool
// tips carry the news.
#include "desktop/wordstr.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class sysmonitor : public Page {
public:

    void I_init() override {
        dbI_init();

        words.write_poll_head("stat_time");
        Response.line("</head>");
        Response.line("<body>");

        Value mail_str = "没有新邮件！";
        Value book_str = "留言板没有新的回复信息！";
        Value password_str = "没有密码提醒信息。";
        Value word_str = "没有新的公文等待您审核或签发！";
        Value files_str = "没有新的文书等待您签阅！";

        Value caption;
        if (Session("message").blank()) {
            caption = "Tavelor for Audit";
            Session.set("message", "e");
        } else {
            caption = js_string(html_text(Session("dw_name"))) + "自动化网络办公系统 ";
            Session.set("message", "");
        }

        rs = conn.execute("select count(id) as num from user where online<>0");
        Value onlines = rs("num");

        words.count_new_mail();
        if (words.num > 0) mail_str = "邮箱中有 " + words.num + " 封新邮件！";

        Value replies = words.count_replies();
        if (replies > 0) book_str = "留言板有 " + replies + " 条新的回复信息！";

        word_str = words.get_word_str();

        words.count_received_files();
        if (words.num > 0) files_str = "有 " + words.num + " 个文书等待您签阅！";

        // Every account sees the lost passwords here; only the popup asks
        // for the right.
        rs = conn.execute("select count(id) as num from user where password_lose<>0");
        words.num = rs("num");
        if (words.num > 0) password_str = "有 " + words.num + " 个员工的密码忘记了，请处理！";

        cell("infiles", "<a href='File_list.asp?howdo=gsqm' target='detail'><img src='images/boxin.gif' alt='" +
                            files_str + "' border='0'></a>");
        cell("meeting", "<a href='word_list_sh.asp?sh=" + words.get_shs() +
                            "' target='detail'><img src='images/boxout.gif' alt='" + word_str +
                            "' border='0'></a>");
        cell("onlines", "<a href='Online_user.asp' target='detail'><img src='images/onlinenone.gif' alt='当前在线人数：" +
                            onlines + " 人' border='0'></a>");
        cell("board", "<a href='book_list1.asp' target='detail'><img src='images/boardnone.gif' alt='" + book_str +
                          "' border='0'></a>");
        cell("email", "<a href='Email_list.asp?type=0' target='detail'><img src='images/mail_0.gif' alt='" +
                          mail_str + "' border='0'></a>");
        cell("password", "<a href='sys_losepassword.asp' target='detail'><img src='images/key.gif' alt='" +
                             password_str + "' border='0'></a>");
        cell("system", caption + "&nbsp;");

        rs.close();
        conn.close();
        Response.line("</body>");
        Response.line("</html>");
    }

private:
    WordStrGroup words{*this};
    // One script block that replaces the content of a cell of the bottom frame.
    void cell(const char* id, const std::string& html) {
        Response.line("<script language=\"JavaScript\">");
        Response.line(std::string("parent.bottom.") + id + ".innerHTML=\"" + html + "\";");
        Response.line("</script>");
    }
};

TAVELOR_PAGE(sysmonitor, "sysmonitor.asp", access::signed_in())

}  // namespace tav::pages
