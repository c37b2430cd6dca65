// The bottom frame: the user's name and the status cells that the monitor
// frame rewrites from then on.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

class bottom : public Page {
public:
    void I_init() override {
        dbI_init();
        rs = conn.execute("select truename from user where id="_sql + Session("USER_ID"));
        Value truename = Trim(rs("truename"));
        rs.close();
        conn.close();

        Response.block("<html>");
        Response.block("<head>");
        Response.block("<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">");
        Response.block("<title>system infomation</title>");
        Response.block("<link rel=\"stylesheet\" href=\"style.css\" type=\"text/css\">");
        Response.block("<style type=\"text/css\">");
        Response.block("a:link { color: yellow }");
        Response.block("a:visited { color: yellow }");
        Response.block("a:hover { color: white }");
        Response.block("</style>");
        Response.block("</head>");
        Response.block("<body bgcolor=\"#337799\" leftmargin=\"0\" topmargin=\"0\" marginwidth=\"0\" marginheight=\"0\">");
        Response.block("<table width=\"100%\" border=\"0\" cellspacing=\"0\" cellpadding=\"0\">");
        Response.block("<tr>");
        Response.block("<td nowrap><font color=\"yellow\"> 用户:" + html_text(truename) + "</font></td>");
        cell("onlines", "在线用户:", "Online_user.asp", "images/onlinenone.gif", "没有其它在线用户");
        cell("email", "邮件：", "Email_list.asp?Type=0", "images/mail_0.gif", "没有新邮件！");
        cell("board", "留言回复：", "Book_list1.asp", "images/boardnone.gif", "留言板没有回复信息！");
        cell("infiles", "收文处理：", "File_list.asp", "images/boxin.gif", "没有文书等待签阅！");
        cell("meeting", "发文处理：", "Word_list_sh.asp", "images/boxout.gif", "没有公文等待审核或签发！");
        cell("password", "密码提醒：", "PeopLosePasswordlist.asp", "images/key.gif", "没有密码提醒信息。");
        Response.block("<td id=\"system\" name=\"system\" align=\"right\" nowrap>"
                       "<a href=\"help.htm\" target=\"_blank\">Tavelor for Audit</a></td>");
        Response.block("</tr>");
        Response.block("</table>");
        Response.block("<script language=\"JavaScript\">");
        Response.block("parent.monitorbottom.location.href=\"sysmonitor.asp\";");
        Response.block("</script>");
        Response.block("</body>");
        Response.block("</html>");
    }

private:
    void cell(const std::string& id, const std::string& label, const std::string& href,
              const std::string& img, const std::string& alt) {
        Response.block("<td nowrap align=\"right\"><font color=\"yellow\">" + label + "</font></td>");
        Response.block("<td id=\"" + id + "\" name=\"" + id + "\" width=\"20\"><a href=\"" + href +
                       "\" target=\"detail\"><img src=\"" + img + "\" border=\"0\" alt=\"" + alt + "\"></a></td>");
    }
};

TAVELOR_PAGE(bottom, "bottom.asp", access::signed_in())

}  // namespace tav::pages
