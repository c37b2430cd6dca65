// Email_list.asp: one of the four mail folders of the account, ten mails to
// a page, with a search by subject and the ticking script for deletion.
// A folder is a condition on the flags of the rows, not a place.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"
#include "frame/store_search.h"
#include "frame/vb.h"
#include "mail/mailbox.h"

namespace tav::pages {

class emaillist : public Page {
public:
    void I_init() override {
        dbI_init();
        Value me = Session("USER_ID");

        std::string sstr = Replace(Trim(Request.querystring("sstr")), "'", "");
        Value type = Trim(Request.querystring("type"));
        // The tick box "搜索正文" widens the search to the body and the
        // sender's name; the links carry it only when ticked.
        const bool wide = Request.querystring("sbody") == "1";
        PageBar::Params carry = {{"type", html_text(type)}, {"sstr", html_text(sstr)}};
        PageBar::Params hidden = carry;
        if (wide) carry.push_back({"sbody", "1"});
        hidden.push_back({"sbody", wide ? "1" : ""});
        PageBar bar(*this, {.url = "Email_list.asp",
                            .size = 10,
                            .limit = 10,
                            .row_height = 28,
                            .carry = carry,
                            .own_hidden = true,
                            .hidden = hidden});
        bar.read_p();

        long folder = folder_of(type);
        if (folder >= 0) {
            Sql cond = condition(folder, me);
            // Email_title like '%sstr%' (or the body, or the sender's
            // name), answered as the store can; the folder's condition
            // keeps it to the account's own mail.
            if (!sstr.empty() && !wide)
                cond += " and "_sql + text_contains(conn, "Email", {"Email_title"}, sstr);
            else if (!sstr.empty())
                cond += " and "_sql +
                        text_contains(conn, "Email", {"Email_title", "Email_text"}, sstr,
                                      "send_user_id in (select id from user where "_sql +
                                          text_contains("user", {"truename"}, sstr) + ")");
            // A whole folder's size is kept by the store (email_tally in the
            // schema); a search counts its matches.
            if (sstr.empty())
                bar.count("select coalesce(sum(num),0) as num from email_tally where user_id="_sql + me +
                          " and folder=" + folder);
            else
                bar.count("select count(*) as num from Email where "_sql + cond);
            rs = bar.fetch("select * from Email where "_sql + cond + " order by ID DESC");
        }
        // A folder outside 0 to 3 opened no result: the first read of it
        // fails and the page ends in the error report.
        bool empty = rs.eof();

        write_head({.title = "", .no_cache_days = 1});
        write_script();
        Response.line("</head>");
        Response.line("<body>");
        write_search(folder, type, wide);
        Response.lines(R"html(
<table width="100%" border="0" cellspacing="0" cellpadding="2" bgcolor="#FFFFFF">
<tr bgcolor="#E0E0E0" height="26">
<td width="60" nowrap><input type="checkbox" name="clickall" value="on" onclick="selectall(this.checked)">全选</td>
<td>邮件主题</td>
)html");
        Response.line(std::string("<td width=\"80\">") + (folder == 3 ? "收件人" : "发件人") + "</td>");
        Response.lines(R"(
<td width="70">重要程度</td>
<td width="40">回复</td>
<td width="60">状态</td>
<td width="40">附件</td>
<td width="90">发送日期</td>
</tr>
)");

        long n = 1;
        for (; !empty && bar.within(n) && !rs.eof(); ++n) {
            write_row(folder, n + bar.offset());
            rs.movenext();
        }
        bar.fill_rows(n, 8);
        Response.line("</table>");
        Response.line("</form>");

        std::string buttons =
            std::string("<input type=\"button\" class=\"buttons02\" id=\"Clear\" name=\"Clear\" value=\"") +
            (folder == 2 || folder == 3 ? "彻底删除选中项" : "删除选中项") + "\" onclick=\"clickdelete()\">\r\n" +
            "<input type=\"button\" class=\"buttons02\" name=\"BtnClear\" value=\"新邮件\" "
            "onclick=\"window.location.href='Email_send.asp'\">";
        bar.write_bar(buttons);
        Response.line("</body>");
        Response.line("</html>");
    }

private:
    // 0 to 3 for a folder; -1 for anything else.
    static long folder_of(const Value& type) {
        if (!IsNumeric(type)) return -1;
        double t = type.num();
        if (t != 0 && t != 1 && t != 2 && t != 3) return -1;
        return static_cast<long>(t);
    }

    static Sql condition(long folder, const Value& me) {
        switch (folder) {
            case 0: return "to_user_id="_sql + me + " and To_del=0";
            case 1: return "to_user_id="_sql + me + " and read=1 and To_del=0";
            case 2: return "to_user_id="_sql + me + " and To_del=1";
            default: return "send_user_id="_sql + me + " and Send_del=0";
        }
    }

    void write_search(long folder, const Value& type, bool wide) {
        // The ticking boxes of the list stand in this form too, so the
        // selection script finds them through it.
        Response.lines(R"(
<form name="searchform" method="get">
<table width="100%" border="0" cellspacing="0" cellpadding="3">
<tr bgcolor="#336699" height="28">
)");
        Response.line("<td><font color=\"#FFFFFF\">我的信箱-&gt;&gt;" +
                      html_text(mail::folder_names()[static_cast<std::size_t>(folder)]) + "</font></td>");
        Response.line("<td align=\"right\"><font color=\"#FFFFFF\">根据邮件主题关键字：</font>"
                      "<input type=\"text\" name=\"sstr\" size=\"12\"> "
                      "<label><input type=\"checkbox\" name=\"sbody\" value=\"1\"" +
                      std::string(wide ? " checked" : "") + "><font color=\"#FFFFFF\">搜索正文</font></label> "
                      "<input type=\"button\" class=\"buttons02\" value=\"查找\" onclick=\"myform_submit()\">");
        Response.line("<input type=\"hidden\" name=\"dellist\" value=\"\">");
        Response.line("<input type=\"hidden\" name=\"type\" value=\"" + html_text(type) + "\">");
        Response.line("</td></tr>");
        Response.line("</table>");
    }

    void write_row(long folder, long long number) {
        Value id = rs("id");
        Value who = folder == 3 ? rs("to_user_id") : rs("send_user_id");
        Recordset person = conn.execute("select truename from user where id="_sql + who);
        std::string name;
        if (!person.eof()) name = person("truename").str();
        else if (rs("send_user_id") == 0) name = "系 统";
        else name = "已删除";

        std::string state;
        if (rs("read") == 1) state = "已查阅";
        else if (folder == 3) state = "已发送";
        else state = "<font color=\"red\">新邮件</font>";

        std::string idt = html_text(id);
        Response.line(table_row(
            " bgcolor=\"#FFFFFF\" height=\"26\"",
            {Cell::markup("<input type=\"checkbox\" value=\"on\" id=\"" + idt + "\" name=\"check" + idt +
                          "\" onclick=\"changechecked(this)\">" + std::to_string(number)),
             // Titles are stored through the markup allowlist; shown as stored.
             Cell::markup("<a href=\"Email_read.asp?id=" + idt + "\">" + html_text(rs("Email_title")) + "</a>"),
             Value(name), Value(mail::degree_name(rs("Email_id"))), Value(rs("reply") == 1 ? "Yes" : "No"),
             Cell::markup(state), Value(Trim(rs("Email_doc")) != "0" ? "有" : "无"), rs("email_date")}));
    }

    void write_script() {
        Response.lines(R"(
<script language="javascript">
function myform_submit(){
  if (document.searchform.sstr.value == "") {
    alert("请输入查找关键字！");
    document.searchform.sstr.focus();
    return;
  }
  document.myform.sstr.value = document.searchform.sstr.value;
  document.myform.sbody.value = document.searchform.sbody.checked ? "1" : "";
  document.myform.submit();
}
function selectall(v){
  var f = document.searchform;
  for (var i = 0; i < f.elements.length; i++) {
    if (f.elements[i].value == "on") f.elements[i].checked = v;
  }
  f.clickall.checked = v;
}
function changechecked(box){
  if (box.checked) {
    box.checked = true;
    if (isallselected()) document.searchform.clickall.checked = true;
  } else {
    document.searchform.clickall.checked = false;
  }
}
function isallselected(){
  var f = document.searchform, all = 0, ticked = 0;
  for (var i = 0; i < f.elements.length; i++) {
    if (f.elements[i].name.indexOf("check") >= 0) {
      all++;
      if (f.elements[i].checked) ticked++;
    }
  }
  return ticked == all;
}
function isselected(){
  var f = document.searchform, e, name;
  f.dellist.value = "";
  for (var i = 0; i < f.elements.length; i++) {
    e = f.elements[i];
    if (e.value == "on" && e.checked) {
      name = e.name;
      if (f.dellist.value != "") f.dellist.value += "*";
      f.dellist.value += name.substring(name.indexOf("check") + 5, name.length + 1);
    }
  }
}
function clickdelete(){
  isselected();
  var f = document.searchform;
  if (f.dellist.value == "") {
    alert("没有选择删除项");
    return;
  }
  window.location.href = "Email_Del.asp?dellist=" + f.dellist.value + "&Type=" + f.type.value;
}
</script>
)");
    }
};

TAVELOR_PAGE(emaillist, "Email_list.asp", access::signed_in().with("the account's own folders only"))

}  // namespace tav::pages
