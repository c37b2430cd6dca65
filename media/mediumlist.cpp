// Medium_list.asp: the titles of one kind, twenty to a page in two columns,
// filtered by the author's initial and a word of the title; playing opens
// the one small player window.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"
#include "frame/vb.h"
#include "media/media_common.h"

namespace tav::pages {

class mediumlist : public Page {
public:
    void I_init() override {
        dbI_init();
        std::vector<std::string> keys = Split(media::kKindKeys, " ");
        std::vector<std::string> labels = Split(media::kKindLabels, " ");

        Recordset right = conn.execute("select plays from user where id="_sql + Session("USER_ID"));
        plays_ = CLng(right("plays")) != 0;
        right.close();

        Value sstr = Replace(Trim(Request.querystring("sstr")), "'", "");
        Value file_type = Request.querystring("file_type");
        if (file_type.blank()) file_type = keys[0];
        Value py = Request.querystring("PY");
        kind_ = file_type.str();

        PageBar bar(*this, {.url = "Medium_list.asp",
                            .size = 20,
                            .limit = 10,
                            .row_height = 26,
                            .carry = {{"sstr", html_text(sstr)}, {"file_type", html_text(kind_)}, {"PY", html_text(py)}},
                            .own_hidden = true,
                            .hidden = {{"File_type", html_text(kind_)}, {"PY", html_text(py)}}});
        bar.read_p();

        Sql where = "where file_type='"_sql + file_type + "'";
        if (!sstr.blank()) where += " and title like '%"_sql + sstr + "%'";
        if (!py.blank()) where += " and PY='"_sql + py + "'";
        bar.count("select count(id) as num from Medium "_sql + where);
        // A search word's statement has two blanks behind the table's name.
        rs = bar.fetch((sstr.blank() ? "select * from Medium "_sql : "select * from Medium  "_sql) + where +
                       " order by id DESC");

        int kind = media::kind_position(keys, kind_);

        write_head({.title = "Medium List"});
        write_script();
        Response.lines(R"(
</head>
<body>
<form name="lists">
<table width="100%" border="0" cellspacing="1" cellpadding="2" class="a9px">
)");
        Response.write("<tr bgcolor=\"#336699\"><td colspan=\"6\" height=\"26\"><font color=\"#FFFFFF\">在线视听=>");
        // A key that is none of the six runs the label lookup off the end.
        if (kind < 0) raise_error(9, "Subscript out of range");
        Response.write(labels[static_cast<std::size_t>(kind)] + "=>作者:");
        std::string k = html_text(kind_);
        // A to X: the loop has always stopped at 24 letters.
        for (int i = 0; i <= 23; ++i) {
            std::string letter(1, static_cast<char>(65 + i));
            Response.write("<a href=\"Medium_list.asp?PY=" + letter + "&file_type=" + k +
                           "\"><font color=\"yellow\">" + letter + "</font></a>\xE3\x80\x80");
        }
        Response.line("<a href=\"Medium_list.asp?file_type=" + k + "\"><font color=\"yellow\">*</font></a></font></td></tr>");
        Response.line("<tr bgcolor=\"#E0E0E0\" height=\"26\"><td>序号</td><td>媒体标题</td><td>序号</td><td>媒体标题</td></tr>");

        long n = 1;
        while (bar.within(n) && !rs.eof()) {
            Response.write("<tr height=26><td>" + std::to_string(n) + "</td>");
            title_cell();
            rs.movenext();
            if (rs.eof()) {
                Response.line(std::string("<td>") + PageBar::kBlank + "</td><td>" + PageBar::kBlank + "</td></tr>");
                ++n;
                break;
            }
            // Left to right on screen, numbered as if counted down the columns.
            Response.write("<td>" + std::to_string(10 + n) + "</td>");
            title_cell();
            Response.line("</tr>");
            ++n;
            rs.movenext();
        }
        bar.fill_rows(n, 4);
        Response.line("</table>");
        Response.line("</form>");

        bar.open_bar(plays_ ? "<input type=\"button\" value=\"播放选中\" name=\"play\" onclick=\"play_more()\">" : "");
        bar.write_nav();
        bar.close_bar("<font style=\"font-size:11pt\" color=\"#FFFFFF\"><span style=\"background-color:#336699\">"
                      "根据媒体标题关键字：</span></font><input type=\"text\" name=\"sstr\" size=\"12\" value=\"" +
                      html_text(sstr) + "\"><input type=\"button\" value=\"查找\" name=\"find\" onclick=\"myform_submit()\">");
        bar.write_script();
        Response.line("</body>");
        Response.line("</html>");
        rs.close();
        conn.close();
    }

private:
    void title_cell() {
        Value id = rs("id");
        std::string i = html_text(id);
        bool audio = InStr(LCase(rs("file_type")), "audio") > 0;
        Response.write("<td align=\"left\" nowrap>");
        if (audio && plays_) Response.write("<input type=\"checkbox\" name=\"" + i + "\">");
        Response.write(std::string("<a href=# onclick=\"openWin('") +
                       (audio ? "Medium_play_Audio.asp?id=" : "Medium_play_Video.asp?id=") + js_string(html_text(id)) +
                       "')\">" + html_text(rs("title")) + "</a>");
        Value text = rs("Medium_text");
        if (!text.is_null() && Len(Trim(text)) > 0)
            Response.write("<a href=\"Medium_Info.asp?id=" + i +
                           "\"><img src=\"images/EDIT.GIF\" height=\"15\" border=\"0\" alt=\"查阅媒体详细介绍\"></a>");
        Response.write(" [" + html_text(rs("click_num")) + "]</td>");
    }

    void write_script() {
        Response.lines(R"(
<script language="javascript">
function GoBack(){ history.back(); }
function openWin(url){
  window.open(url,"Medium_Win","directories=no,location=no,resizable=no,left=523,top=0,menubar=no,width=275,height=100");
}
function play_more(){
  var n=0, ids="", f=document.lists;
  for(var i=0;i<f.elements.length;i++){
    var e=f.elements[i];
    if(e.checked){ n++; ids+=e.name+"|"; }
  }
  if(n>0) openWin("Medium_play_Audio.asp?id="+ids);
  else alert("请点选您想播放的媒体！");
}
function myform_submit(){
  if(document.myform.sstr.value==""){
    alert("请输入关键字！");
    document.myform.sstr.focus();
    return;
  }
  document.myform.PY.value="";
  document.myform.submit();
}
</script>
)");
    }

    bool plays_ = false;
    std::string kind_;
};

TAVELOR_PAGE(mediumlist, "Medium_list.asp", access::right("1301|1311"))

}  // namespace tav::pages
