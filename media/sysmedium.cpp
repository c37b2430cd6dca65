// Sys_Medium.asp: the administrator's list of all titles of all kinds, ten
// to a page, with the way to each title's form.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"
#include "frame/vb.h"

namespace tav::pages {

class sysmedium : public Page {
public:
    void I_init() override {
        dbI_init();
        Value sstr = Replace(Trim(Request.querystring("sstr")), "'", "");
        PageBar bar(*this, {.url = "Sys_Medium.asp", .size = 10, .limit = 10, .row_height = 26,
                            .carry = {{"sstr", html_text(sstr)}}});
        bar.read_p();
        if (sstr.blank()) {
            bar.count("select count(id) as num from Medium");
            rs = bar.fetch("select * from Medium order by id DESC");
        } else {
            bar.count("select count(id) as num from Medium where title like '%"_sql + sstr + "%'");
            rs = bar.fetch("select * from Medium  where title like '%"_sql + sstr + "%' order by id DESC");
        }

        write_head({.title = std::nullopt});
        Response.lines(R"(
<script language="javascript">
function GoBack(){ history.back(); }
function openWin(url){
  window.open(url,"Medium_Win","directories=no,location=no,resizable=no,left=523,top=0,menubar=no,width=275,height=100");
}
function myform_submit(){
  document.myform.sstr.value=document.searchform.sstr.value;
  document.myform.submit();
}
</script>
</head>
<body>
<form name="searchform" method="get">
<table width="100%" border="0" cellspacing="1" cellpadding="2" class="a9px">
)");
        Response.line("<tr bgcolor=\"#336699\"><td colspan=\"6\" height=\"26\"><font color=\"#FFFFFF\">"
                      "网络互动 =>>在线播放文件维护\xE3\x80\x80根据媒体标题关键字：</font>"
                      "<input type=\"text\" name=\"sstr\" size=\"12\" value=\"" + html_text(sstr) +
                      "\"><input type=\"button\" value=\"查找\" name=\"find\" onclick=\"myform_submit()\"></td></tr>");
        Response.line("<tr bgcolor=\"#E0E0E0\" height=\"26\"><td>序号</td><td>媒体标题</td><td>媒体介绍</td>"
                      "<td>媒体类型</td><td>修改媒体属性</td><td>添加日期</td></tr>");
        long n = 1;
        for (; bar.within(n) && !rs.eof(); ++n) {
            std::string id = html_text(rs("id"));
            std::string type = LCase(rs("File_type"));
            // Tested on "video" here: the administrator's look counts as a play.
            std::string player = InStr(type, "video") > 0 ? "Medium_play_Video.asp?id=" : "Medium_play_Audio.asp?id=";
            Value text = rs("Medium_text");
            std::string info = (text.is_null() || Len(Trim(text)) == 0)
                                   ? std::string("暂无")
                                   : "<a href=\"Medium_Info.asp?id=" + id +
                                         "\"><img src=\"images/note.gif\" border=\"0\" alt=\"查阅媒体详细介绍\"></a>";
            std::string kind = InStr(type, "audio") > 0   ? html_text(Right(rs("file_type"), 3)) + "音频"
                               : InStr(type, "video") > 0 ? html_text(Right(rs("file_type"), 3)) + "视频"
                                                          : std::string("未知");
            Response.line(table_row(
                " height=\"26\"",
                {rs("id"),
                 Cell::markup("<a href=\"#\" onclick=\"openWin('" + player + js_string(id) + "')\">" +
                              html_text(rs("title")) + "</a>"),
                 Cell::markup(info), Cell::markup(kind),
                 Cell::markup("<a href=\"Sys_Medium_Modify.asp?id=" + id +
                              "\"><img src=\"images/EDIT.GIF\" height=\"15\" border=\"0\" "
                              "alt=\"修改媒体属性 删除媒体文件\"></a>"),
                 rs("Append_date")}));
            rs.movenext();
        }
        bar.fill_rows(n, 6);
        Response.line("</table>");
        Response.line("</form>");
        bar.open_bar("<input type=\"button\" value=\"添加媒体文件\" id=\"BtnClear\" name=\"BtnClear\" "
                     "onclick=\"window.location.href='Sys_Medium_Modify.asp'\">");
        bar.write_nav();
        bar.close_bar();
        bar.write_script();
        Response.line("</body>");
        Response.line("</html>");
        rs.close();
        conn.close();
    }
};

TAVELOR_PAGE(sysmedium, "Sys_Medium.asp", access::right("1311"))

}  // namespace tav::pages
