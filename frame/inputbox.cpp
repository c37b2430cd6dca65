#include "frame/inputbox.h"

#include <string>

#include "frame/host.h"
#include "frame/page.h"

namespace tav {

namespace {

struct Button {
    const char* title;
    const char* call;
    const char* image;
};

// Every button's image comes in three states, swapped by edit.js:
// img/{x}.gif at rest, {x}1 under the mouse, {x}2 while pressed.
constexpr Button kButtons[] = {
    {"剪切", "RunCom('cut')", "cut"},
    {"复制", "RunCom('copy')", "copy"},
    {"粘贴", "RunCom('paste')", "paste"},
    {"粗体", "RunCom('bold')", "bold"},
    {"斜体", "RunCom('italic')", "italic"},
    {"下划线", "RunCom('underline')", "under"},
    {"向左对齐", "RunCom('justifyleft')", "aleft"},
    {"向中对齐", "RunCom('justifycenter')", "center"},
    {"向右对齐", "RunCom('justifyright')", "aright"},
    {"加入超连接", "createLink()", "wlink"},
    {"导入图片", "insertImage()", "img"},
    {"插入Flash", "insertFlash()", "flash"},
    {"插入表格", "creatTable()", "table"},
};

struct Option {
    const char* value;
    const char* label;
};

constexpr Option kFonts[] = {
    {"font", "字 体"},       {"宋体", "宋 体"},   {"楷体_GB2312", "楷 体"}, {"黑体", "黑 体"},
    {"仿宋_GB2312", "仿宋体"}, {"新宋体", "新宋体"}, {"幼圆", "幼 圆"},       {"隶书", "隶 书"},
    {"Arial", "Arial"},       {"Fixedsys", "Fixedsys"}, {"System", "System"},
    {"Times New Roman", "NewRoman"}, {"Verdana", "Verdana"}, {"Wingdings", "Wingdings"},
    {"Kantipur", "Kantipur"},
};

constexpr const char* kSwatches[] = {
    "#666666", "#000000", "#999999", "#cccccc", "#f7f7f7", "#990000", "#cc0000", "#ff0000",
    "#ffff00", "#ffff99", "#ffffcc", "#0066cc", "#0099ff", "#00ccff", "#006633", "#009900",
    "#00cc00", "#ff6600", "#ff9933", "#ffcc66", "#cc0099", "#cc00cc", "#cc33ff",
};

bool is_alignment(const Button& b) { return std::string(b.call).starts_with("RunCom('justify"); }

}  // namespace

void InputBox::inputboxI_init() {
    page_.routine("inputboxI_init", [&] {
        Response.client_compat(kCompatDialogs);  // the picture button opens a modal dialog
        Response.line("<table width=\"530\" border=\"0\" cellspacing=\"0\" cellpadding=\"0\" bgcolor=\"RGB(198,195,198)\">");
        Response.line("<tr height=\"30\"><td width=\"30\">");
        Response.line("<DIV ID=\"FormatToolbar\" CLASS=\"yToolbar\">");
        for (const Button& b : kButtons) {
            std::string div = "<DIV";
            // the paste button has always been written without the button class
            if (std::string(b.image) != "paste") div += " CLASS=\"Btn\"";
            if (is_alignment(b)) div += " NAME=\"Justify\"";
            div += std::string(" TITLE=\"") + b.title + "\" onclick=\"" + b.call + "\">";
            div += std::string("<IMG CLASS=\"Ico\" SRC=\"img/") + b.image + ".gif\" WIDTH=\"23\" HEIGHT=\"22\"></DIV>";
            Response.line(div);
        }
        Response.line("</DIV>");
        Response.line("</td></tr>");
        Response.line("<tr><td width=\"30\">");
        Response.line("<DIV ID=\"ParaToolbar\" CLASS=\"yToolbar\">");

        Response.line("<SELECT ID=\"FontName\" NAME=\"FontName\" CLASS=\"TBGen\" TITLE=\"字体名称\" onchange=\"RunCom('fontname',this.value)\">");
        bool first = true;
        for (const Option& o : kFonts) {
            Response.line(std::string("<OPTION VALUE=\"") + o.value + "\"" + (first ? " SELECTED" : "") + ">" + o.label +
                          "</OPTION>");
            first = false;
        }
        Response.line("</SELECT>");

        Response.line("<SELECT ID=\"FontSize\" NAME=\"FontSize\" CLASS=\"TBGen\" TITLE=\"字体大小\" onchange=\"RunCom('fontsize',this.value)\">");
        Response.line("<OPTION VALUE=\"fontsize\" SELECTED>字号</OPTION>");
        for (int size = 1; size <= 7; ++size)
            Response.line("<OPTION VALUE=\"" + std::to_string(size) + "\">" + std::to_string(size) + "号</OPTION>");
        Response.line("</SELECT>");

        Response.line("<SELECT ID=\"fColor\" NAME=\"fColor\" CLASS=\"TBGen\" TITLE=\"字体颜色\" onchange=\"foreColor()\">");
        Response.line("<OPTION VALUE=\"color\" SELECTED>字体颜色</OPTION>");
        for (const char* c : kSwatches)
            Response.line(std::string("<OPTION STYLE=\"background:") + c + "\" VALUE=\"" + c + "\">" + c + "</OPTION>");
        Response.line("<OPTION VALUE=\"more\">更多颜色</OPTION>");
        Response.line("</SELECT>");

        Response.line("<DIV ID=\"EditMode\" CLASS=\"TBGen\" TITLE=\"编辑模式\"><INPUT TYPE=\"checkbox\" ID=\"switchMode\" NAME=\"switchMode\" onclick=\"setMode(switchMode.checked)\"><LABEL FOR=\"switchMode\" STYLE=\"font-size:11pt\">书写HTML源代码</LABEL></DIV>");
        Response.line("</DIV>");
        Response.line("</td></tr>");
        Response.line("</table>");
    });
}

void InputBox::write_ready_routine(std::string_view font) {
    Response.line("function document.onreadystatechange() {");
    Response.line("  var i, curr;");
    Response.line("  YInitialized = true;");
    Response.line("  for (i = 0; i < document.body.all.length; i++) {");
    Response.line("    curr = document.body.all[i];");
    Response.line("    if (curr.className == \"yToolbar\") {");
    Response.line("      if (!InitTB(curr)) alert(\"工具条: \" + curr.id + \" 初始化失败\");");
    Response.line("      yToolbars[yToolbars.length] = curr;");
    Response.line("    }");
    Response.line("  }");
    Response.line("  mytext.document.open();");
    Response.line("  mytext.document.write('<BODY MONOSPACE STYLE=\"font:" + std::string(font) +
                  "\">' + note_body + '</BODY>');");
    Response.line("  mytext.document.close();");
    Response.line("  mytext.document.designMode = 'On';");
    Response.line("}");
}

}  // namespace tav
