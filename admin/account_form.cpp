#include "admin/account_form.h"

#include "frame/html.h"
#include "frame/page.h"
#include "frame/pagebar.h"
#include "frame/vb.h"

namespace tav {

namespace {

const char* kStar = "<font color=\"red\">*</font>";

std::string text_box(const char* name, const Value& value, int maxlength, const char* extra = "") {
    return std::string("<input type=\"text\" name=\"") + name + "\" value=\"" + html_text(value) +
           "\" maxlength=\"" + std::to_string(maxlength) + "\" size=\"20\"" + extra + ">";
}

void field_row(const char* label, const std::string& input, bool required) {
    Response.line("<tr><td width=\"20%\" align=\"right\" bgcolor=\"#E0E0E0\">" + std::string(label) +
                  "</td><td bgcolor=\"#F5F5F5\">" + input + (required ? kStar : "") + "</td></tr>");
}

// One test of check(): the condition, the alert (already a JavaScript
// literal), what to clear and where the focus goes.
void check_step(const std::string& condition, const std::string& alert, const std::string& clear,
                const char* focus) {
    Response.line("  if (" + condition + ")");
    Response.line("  {");
    Response.line("    alert(" + alert + ");");
    if (!clear.empty()) Response.line("    " + clear);
    Response.line(std::string("    document.form1.") + focus + ".focus();");
    Response.line("    return (false);");
    Response.line("  }");
}

}  // namespace

void write_account_check(const AccountForm& form) {
    Response.lines(R"(
<script language="JavaScript">
function check()
{
  var f = document.form1;
  var allowed = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
)");
    check_step("f.UserName.value == \"\"", "\"请填写用户账号\"", "", "UserName");
    check_step("!IsAccount(f.UserName.value)",
               "\"用户账号含有非法字符！\\n合法字符只能是字母(a-z,A-Z)，数字(0-9)，下划线(_)。\"", "", "UserName");
    // A stored account's form shows no password: the administrator's boxes
    // set a new one when filled, the own form has none (the own password is
    // changed with the old one on its own page).
    if (form.use == AccountForm::Use::Register)
        check_step("f.UserPassWord.value == \"\"", "\"请填写密码\"", "", "UserPassWord");
    if (form.use != AccountForm::Use::OwnProfile) {
        check_step("Str1CharAllInStr2(f.UserPassWord.value, allowed) == 0", "\"密码中含有非法字符。\"",
                   "f.UserPassWord.value = \"\";", "UserPassWord");
        check_step("f.UserPassWord.value != f.PassWord.value", "\"两次输入的密码不一致,请重新输入!\"",
                   "f.UserPassWord.value = \"\"; f.PassWord.value = \"\";", "UserPassWord");
    }
    check_step("f.TureName.value == \"\"", "\"请填写真实姓名\"", "", "TureName");
    check_step("f.Telphone.value != \"\" && !IsPhoneNumber(f.Telphone.value)", "\"请填写正确的电话号码！\"", "",
               "Telphone");
    check_step("f.Mobile.value != \"\" && !IsPhoneNumber(f.Mobile.value)", "\"请填写正确的手机号码！\"", "", "Mobile");
    check_step("f.Email.value != \"\" && !IsValidEmail(f.Email.value)", "\"请填写正确的电子信箱！\"", "", "Email");
    if (form.use == AccountForm::Use::AdminProfile)
        check_step("Str1CharAllInStr2(f.record.value, \"0123456789\") == 0", "\"保存用户活动记载只能输入数字。\"",
                   "f.record.value = \"\";", "record");
    Response.lines(R"(
  return (true);
}
</script>
)");
}

void write_profile_page(Page& page, AccountForm& form, const std::string& heading) {
    Recordset rs = page.connection().execute("select * from user where id="_sql + form.id);
    read_account(form, rs);
    page.write_head({.title = "Tavelor"});
    Response.line("<script language=\"JavaScript\" src=\"TavelorJS.js\"></script>");
    write_account_check(form);
    Response.lines(R"(
</head>
<body>
<table width="100%" border="0" cellspacing="0" cellpadding="0">
)");
    Response.line("<tr><td height=\"25\" align=\"center\" bgcolor=\"#336699\"><font color=\"#FFFFFF\">" + heading +
                  "</font></td></tr>");
    Response.line("</table>");
    write_account_form(page, form);
    Response.line("</body>");
    Response.line("</html>");
}

void write_account_form(Page& page, const AccountForm& form) {
    using Use = AccountForm::Use;
    const bool reg = form.use == Use::Register;
    const bool admin = form.use == Use::AdminProfile;
    Response.line("<form name=\"form1\" method=\"post\" action=\"NewRegisterDo.asp\" onsubmit=\"return check()\">");
    Response.line("<table width=\"100%\" border=\"0\" cellspacing=\"1\" cellpadding=\"3\" bgcolor=\"#336699\">");

    field_row("真实姓名", text_box("TureName", form.truename, 15), true);
    const char* lock = form.use == Use::OwnProfile && form.known ? " readonly" : "";
    field_row("用户账号", text_box("UserName", form.username, 16, lock), true);
    if (reg) Response.line("<input type=\"hidden\" name=\"TechLevel\" value=\"C\" maxlength=\"16\">");
    if (form.use != Use::OwnProfile) {
        const char* keep = admin ? "（不修改请留空）" : "";
        field_row("用户密码",
                  std::string("<input type=\"password\" name=\"UserPassWord\" value=\"\" maxlength=\"8\" size=\"20\">") +
                      keep,
                  reg);
        field_row("密码确认", "<input type=\"password\" name=\"PassWord\" value=\"\" maxlength=\"8\" size=\"20\">", reg);
    }

    std::string select = "<select name=\"DepartMentID\">";
    Recordset d = page.connection().execute("select * from DepartMent");
    while (!d.eof()) {
        bool chosen = !reg && d("id").str() == form.departmentid.str();
        select += "<option value=\"" + html_text(d("id")) + "\"" + (chosen ? " selected" : "") + ">" +
                  html_text(d("name")) + "</option>";
        d.movenext();
    }
    select += "</select>";
    field_row("部门", select, true);

    field_row("身份证", text_box("IDCard", form.idcard, 20), false);
    // A new form presets 男; a stored account shows 女 for anything but 男.
    bool male = reg || form.sex == "男";
    field_row("性别",
              std::string("<input type=\"radio\" name=\"sex\" value=\"男\"") + (male ? " checked" : "") +
                  ">男 <input type=\"radio\" name=\"sex\" value=\"女\"" + (male ? "" : " checked") + ">女",
              true);
    field_row("电话", text_box("Telphone", form.telphone, 30), false);
    field_row("手机", text_box("Mobile", form.mobile, 15), false);
    field_row("电子信箱", text_box("Email", form.email, 100), false);
    field_row("职务", text_box("Duty", form.duty, 10), false);
    field_row("地址", text_box("Address", form.address, 25), false);
    field_row("专长", text_box("SpeTech", form.spetech, 25), false);
    field_row("邮编", text_box("Zip", form.zip, 6), false);
    if (admin) {
        field_row("保存用户活动记载",
                  "<input type=\"text\" name=\"record\" size=\"2\" value=\"" + html_text(form.record) + "\">天 ",
                  false);
        bool on = form.start_meeting == "1";
        field_row("系统启动时自动运行Netmeeting ",
                  std::string("<input type=\"radio\" name=\"start_meeting\" value=\"1\"") + (on ? " checked" : "") +
                      ">是 <input type=\"radio\" name=\"start_meeting\" value=\"0\"" + (on ? "" : " checked") +
                      ">否 <font color=\"red\">启动Netmeeting，可以随时接受其他用户呼叫</font>",
                  false);
    }
    const char* rows = reg ? "4" : "6";
    const char* cols = admin ? "60" : "66";
    field_row("备注",
              std::string("<textarea name=\"UserRemark\" rows=\"") + rows + "\" cols=\"" + cols + "\">" +
                  html_text(form.remark) + "</textarea>",
              false);
    if (reg) Response.line("<input type=\"hidden\" name=\"NewUser\" value=\"Yes\">");
    if (!reg) Response.line("<input type=\"hidden\" name=\"ID\" value=\"" + html_text(form.id) + "\">");
    Response.line("<tr><td colspan=\"2\" align=\"center\" bgcolor=\"#E0E0E0\">"
                  "<input type=\"submit\" name=\"Submit\" value=\"确认\" class=\"buttons02\"></td></tr>");
    Response.line("</table>");
    if (reg) Response.line("<p align=\"center\"><font color=\"red\">*</font>号要求必须填写</p>");
    Response.line("</form>");
}

void read_account(AccountForm& form, Recordset& rs) {
    form.known = true;
    form.truename = Trim(rs("truename"));
    form.username = Trim(rs("username"));
    form.departmentid = Trim(rs("Departmentid"));
    form.sex = Trim(rs("sex"));
    form.idcard = Trim(rs("IDCard"));
    form.telphone = Trim(rs("Telphone"));
    form.mobile = Trim(rs("Mobile"));
    form.email = Trim(rs("Email"));
    form.duty = Trim(rs("Duty"));
    form.address = Trim(rs("Address"));
    form.spetech = Trim(rs("SpeTech"));
    form.zip = Trim(rs("Zip"));
    form.remark = Trim(rs("UserRemark"));
    form.record = form.use == AccountForm::Use::AdminProfile ? rs("record") : Trim(rs("record"));
    form.start_meeting = Trim(rs("start_meeting"));
}

bool is_own_account(const Value& id) {
    std::string own = session_account();
    Value trimmed = Trim(id);
    return !own.empty() && IsNumeric(trimmed) && trimmed.num() == Value(own).num();
}

void admit_registration(Page& page) {
    Recordset row = page.setting("regnewuser");
    if (row.eof() || row("Hardserial") == "1") return;
    if (!signed_in()) send_to_login();
    if (!holds_right(page.connection(), "1904")) refuse("registration closed");
}

std::string department_name(Page& page, const Value& departmentid) {
    Recordset d = page.connection().execute("select name from Department where id="_sql + departmentid);
    return d.eof() ? std::string("已删除部门") : d("name").str();
}

std::string DepartmentNames::operator()(const Value& departmentid) {
    if (!departmentid.is_number()) return department_name(page_, departmentid);
    auto it = known_.find(departmentid.num());
    if (it == known_.end()) it = known_.emplace(departmentid.num(), department_name(page_, departmentid)).first;
    return it->second;
}

void write_account_list(Page& page, const AccountList& list, const Sql& statement, std::source_location loc) {
    PageBar bar(page, {.url = list.url, .size = 10, .limit = 10, .row_height = 28});
    bar.read_p(loc);
    bar.count("select num from user_tally", loc);  // kept by triggers: no count over every account
    Recordset rs = bar.fetch(statement, loc);
    page.write_head({});
    Response.lines(R"(
</head>
<body>
<table width="100%" border="1" cellspacing="0" cellpadding="2" bordercolorlight="#000000" bordercolordark="#FFFFFF">
)");
    Response.line("<tr><td colspan=\"9\" height=\"25\" bgcolor=\"#336699\"><font color=\"#FFFFFF\">" +
                  std::string(list.title) + "</font></td></tr>");
    Response.line("<tr bgcolor=\"#E0E0E0\" align=\"center\"><td>用户账号</td><td>部门</td><td>真实姓名</td><td>性别</td>"
                  "<td>电话</td><td>" + std::string(list.last1) + "</td><td>" + list.last2 + "</td></tr>");
    DepartmentNames departments(page);
    long n = 1;
    for (; bar.within(n) && !rs.eof(); ++n) {
        auto [first, second] = list.last(rs);
        Response.line(table_row(" height=\"28\" align=\"center\"",
                                {rs("username"), Value(departments(rs("departmentid"))), rs("Truename"), rs("sex"),
                                 rs("Telphone"), first, second}));
        rs.movenext();
    }
    bar.fill_rows(n, 7);
    Response.line("</table>");
    bar.write_bar();
    Response.line("</body>");
    Response.line("</html>");
}

}  // namespace tav
