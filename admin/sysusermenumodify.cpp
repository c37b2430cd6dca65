// Sys_User_Menu_Modify.asp: one account's rights as checkboxes, generated
// from the menu rows and the document kinds. A box is ticked when its name
// stands anywhere in the rights string.
#include "frame/html.h"
#include "frame/page.h"
#include "frame/vb.h"

namespace tav::pages {

namespace {

constexpr const char* kWide = "\xE3\x80\x80";  // the full-width space before each box

struct Group {
    const char* name;
    const char* colour;
    int per_row;
    bool read_and_input;  // two boxes, read and input, for most entries
};
constexpr Group kGroups[] = {{"menu1", "#F5D0aF", 4, false},
                             {"menu2", "#FFD06F", 4, false},
                             {"menu3", "#FFD0FF", 2, true},
                             {"menu4", "#FFD0FF", 2, true}};

}  // namespace

class sysusermenumodify : public Page {
public:
    void I_init() override {
        dbI_init();
        Value ID = Request.querystring("ID");
        rs = conn.execute("select truename,menu_idstr,id from user where id="_sql + ID);
        Value truename = rs("Truename");
        rights_ = rs("menu_idstr");

        write_head({.title = "用户权限修改", .no_cache_days = 1});
        Response.line("</head>");
        Response.line("<body bgcolor=\"#6699cc\">");
        Response.line("<p align=\"center\"><font color=\"#FFFFFF\"><b>查看或修改 " + html_text(truename) +
                      " 的权限</b></font></p>");
        Response.line("<form name=\"select_form\" method=\"post\" action=\"Sys_User_menu_ModifyDO.asp\" target=\"detail\">");
        for (const Group& g : kGroups) write_group(g);

        Response.line("<table width=\"100%\" border=\"1\" cellspacing=\"0\" cellpadding=\"3\" bgcolor=\"#FFFFFF\">");
        Response.line("<tr><td width=\"50%\" valign=\"top\"><b>可撰(阅或核)的公文类别</b><br>");
        Recordset w = conn.execute("select * from word_type");
        while (!w.eof()) {
            std::string id = w("id").str();
            Response.line(box("w" + id) + "撰" + box("y" + id) + "阅" + box("h" + id) + "核" + kWide +
                          html_text(w("name")) + "<br>");
            w.movenext();
        }
        Response.line("</td>");
        Response.line("<td width=\"50%\" valign=\"top\"><b>其它权限设置</b><br>");
        Recordset f = conn.execute("select start_meeting,plays,menu_idstr from user where id="_sql + ID);
        Response.line(box("Plays", f("plays") == 1) + "允许此用户连续播放音乐<br>");
        Response.line(box("start_meeting", f("start_meeting") == 1) + "此用户登录时系统自动启动NetMeeting<br>");
        Response.line(box("del") + "对[数据中心]数据具有删除权<br>");
        Response.line(box("model") + "对[公文模板]具有删除权<br>");
        Response.line("</td></tr>");
        Response.line("</table>");
        Response.line("<p align=\"center\"><input type=\"hidden\" name=\"ID\" value=\"" + html_text(ID) + "\">");
        Response.lines(R"html(
<input type="submit" name="btnSet" value="提交" class="buttons02"> <input type="reset" name="close" value="返回" class="buttons02" onclick="history.back()"></p>
</form>
</body>
</html>
)html");
    }

private:
    // A box named `name`, ticked when the rights string holds the name
    // anywhere (so "i1501" also ticks "1501", and "model" ticks "del").
    std::string box(const std::string& name) const { return box(name, InStr(rights_, Value(name)) > 0); }
    static std::string box(const std::string& name, bool ticked) {
        return std::string(kWide) + "<input type=\"checkbox\" name=\"" + html_text(name) + "\"" +
               (ticked ? " checked" : "") + ">";
    }

    void write_group(const Group& g) {
        Recordset heads = conn.execute("select * from menu where left(menu_id,5)='"_sql + std::string(g.name) +
                                       "' order by menu_id");
        Response.line("<table width=\"100%\" border=\"1\" cellspacing=\"0\" cellpadding=\"3\" bgcolor=\"#FFFFFF\">");
        while (!heads.eof()) {
            Response.line(std::string("<tr><td colspan=\"") + std::to_string(g.per_row) + "\" bgcolor=\"" + g.colour +
                          "\"><b>" + html_text(heads("user_text")) + "</b></td></tr>");
            std::string prefix = Replace(heads("menu_id"), "menu", "");
            Recordset kids = conn.execute("select * from menu where left(menu_id,2)='"_sql + prefix +
                                          "' order by menu_id");
            int counter = 0;
            Response.write("<tr><td>");
            while (!kids.eof()) {
                Value text = Trim(kids("user_text"));
                if (!text.blank()) {
                    std::string id = kids("menu_id").str();
                    bool single = !g.read_and_input || InStr(Value(id), "A") > 0 || InStr(Value(id), "01") > 0;
                    if (single)
                        Response.write(box(id) + html_text(kids("user_text")));
                    else
                        Response.write(box(id) + "读取" + box("i" + id) + "录入" + kWide + html_text(kids("user_text")));
                    ++counter;
                    if (counter % g.per_row == 0)
                        Response.line("</td></tr><tr><td>");
                    else
                        Response.write("</td><td>");
                }
                kids.movenext();
            }
            Response.line("</td></tr>");
            heads.movenext();
        }
        Response.line("</table>");
    }

    Value rights_;
};

TAVELOR_PAGE(sysusermenumodify, "Sys_User_Menu_Modify.asp", access::right("1902"))

}  // namespace tav::pages
