// Sys_Modify.asp: the settings form and its save. The form is multipart
// (it carries the reminder's music file), so every value comes through the
// upload group, for the form's own GET as well.
#include "frame/files.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/paths.h"
#include "frame/upload.h"
#include "frame/vb.h"

namespace tav::pages {

namespace {

// A file name that stands for one file in the music folder and nothing
// else: no folder part, no dot name.
bool plain_file_name(const std::string& name) {
    return !name.empty() && name[0] != '.' && name.find_first_of("/\\:") == std::string::npos;
}

}  // namespace

class sysmodify : public Page {
public:
    void I_init() override {
        dbI_init();
        up.upload_initialize();
        if (Request.ServerVariables("REQUEST_METHOD") == "POST") save();
        write_form();
    }

private:
    // The numbers of the form. A value lands in the refresh tag of the
    // polls and in the quota checks, so only whole numbers are stored: a
    // post with anything else stores nothing at all and says which box.
    struct Number {
        const char* key;
        const char* alert;  // the refusal's text, a script literal
        bool keep_when_empty;
    };
    static constexpr Number kNumbers[] = {
        {"work_time", "\"请在 [未办理的事项] “间隔时间”处输入数字(>60)!\"", false},
        {"stat_time", "\"请在“状态栏刷新时间”处输入数字(>30)!\"", false},
        // Settings added later: a form of an older page that lacks them
        // keeps the stored quota.
        {"quota_store", "\"请在“个人文件柜空间(MB)”处输入数字!\"", true},
        {"quota_mail", "\"请在“邮件附件空间(MB)”处输入数字!\"", true},
    };

    static bool whole_number(const std::string& v) {
        return !v.empty() && v.size() <= 6 && v.find_first_not_of("0123456789") == std::string::npos;
    }

    void save() {
        for (const Number& n : kNumbers) {
            std::string v = Trim(Value(form(n.key))).str();
            if (v.empty() && n.keep_when_empty) continue;
            if (!whole_number(v)) {
                up.upload_terminate();
                Response.lines(std::string("<script language=\"javascript\">\nalert(") + n.alert + ");\n</script>\n");
                return;
            }
        }
        for (const char* key : {"forgetpass", "regnewuser", "indroduce", "pop_note", "work_pop"}) store_flag(key);
        conn.execute("update software set hardserial='"_sql + Trim(Value(form("work_time"))) +
                     "' where softname='work_time'");
        store_flag("pop_music");
        std::string name;
        if (music_sent()) {
            std::string field = "mfile";
            name = up.upload_file(field, "./medium/", "");
        }
        if (!name.empty()) {
            del_old_music(form("old_music"));
            conn.execute("update software set hardserial='"_sql + name + "' where softname='music'");
        }
        conn.execute("update software set hardserial='"_sql + Trim(Value(form("stat_time"))) +
                     "' where softname='stat_time'");
        for (const char* key : {"quota_store", "quota_mail"}) store_quota(key);
        conn.execute("update software set hardserial='"_sql + (form("logout") == "1" ? "1" : "0") +
                     "' where softname='logout'");
        up.upload_terminate();
        Response.lines(R"~(<script language="javascript">
alert("系统参数修改成功！");
</script>
)~");
    }

    std::string form(const char* name) {
        std::string field = name;
        return up.upload_form(field);
    }

    // The quota rows came after the first databases: a missing one is added.
    void store_quota(const char* key) {
        Value v = Trim(Value(form(key)));
        if (v.blank()) return;
        Recordset row = conn.execute("select id from software where softname='"_sql + std::string(key) + "'");
        if (row.eof())
            conn.execute("insert into software(softname,Hardserial) values ('"_sql + std::string(key) + "','" + v + "')");
        else
            conn.execute("update software set hardserial='"_sql + v + "' where softname='" + std::string(key) + "'");
    }

    void store_flag(const char* key) {
        conn.execute("update software set hardserial='"_sql + (form(key) == "on" ? "1" : "0") + "' where softname='" +
                     std::string(key) + "'");
    }

    // The file of mfile is a sound file (.wav, .mp3, .mid) of a plain name:
    // the form's own test, repeated here, since the music folder is served
    // to every visitor.
    bool music_sent() const {
        for (const FileRecord& r : up.files()) {
            if (r.form_name != "mfile") continue;
            std::string ext = UCase(Right(r.file_name, 4));
            return (ext == ".WAV" || ext == ".MP3" || ext == ".MID") && plain_file_name(r.file_name);
        }
        return false;
    }

    // Removes the music file that the form showed; a name that would point
    // out of the music folder removes nothing.
    void del_old_music(const std::string& file) {
        routine("del_old_music", [&] {
            if (!plain_file_name(file)) return;
            std::string path = Server.MapPath(".\\") + "\\medium\\" + file;
            FileSystemObject fso;
            if (fso.FileExists(path)) fso.DeleteFile(path);
        });
    }

    // A setting row's value; a missing row fails here and cuts the form.
    Value value_of(const char* key) { return setting(key)("Hardserial"); }
    Value quota_of(const char* key, const char* fallback) {
        Recordset row = setting(key);
        return row.eof() ? Value(fallback) : row("Hardserial");
    }
    std::string checkbox(const char* key) {
        return std::string("<input type=\"checkbox\" name=\"") + key + "\"" + (value_of(key) == "1" ? " checked" : "") +
               ">";
    }

    void write_form() {
        write_head({.title = "系统参数修改", .no_cache_days = 1});
        // The music file's upload shows its progress through the compat script.
        Response.client_compat(kCompatDialogs);
        Response.lines(R"~(<script language="javascript">
// A number as the form's first checks read one: blanks around it, &h for hexadecimal.
function num(v) {
  var s = String(v).trim();
  var h = /^&h([0-9a-f]+)$/i.exec(s);
  if (h) return parseInt(h[1], 16);
  return s == "" ? NaN : Number(s);
}
function do_submit() {
  var f = document.form1;
  if (isNaN(num(f.work_time.value))) {
    alert("请在 [未办理的事项] “间隔时间”处输入数字(>60)!");
    return;
  }
  if (num(f.work_time.value) < 60) {
    alert("您输入的弹出 [未办理的事项] 间隔时间太短!\n应在60秒或以上。");
    return;
  }
  if (isNaN(num(f.stat_time.value))) {
    alert("请在“状态栏刷新时间”处输入数字(>30)!");
    return;
  }
  if (num(f.stat_time.value) < 10) {
    alert("您输入的状态栏刷新时间间隔太短!\n应在10秒或以上。");
    return;
  }
  if (f.mfile.value != "") {
    if (f.mfile.value.indexOf(":") < 0) {
      alert("您输入的文件名不正确，请通过“浏览”按钮选取声音文件!");
      return;
    }
    var ext = f.mfile.value.slice(-4).toUpperCase();
    if (ext != ".WAV" && ext != ".MP3" && ext != ".MID") {
      alert("您选取的不是声音文件！\n请选择文件扩展名为mid、mp3、wav的文件。");
      return;
    }
  }
  if (isNaN(num(f.quota_store.value))) {
    alert("请在“个人文件柜空间(MB)”处输入数字!");
    return;
  }
  if (isNaN(num(f.quota_mail.value))) {
    alert("请在“邮件附件空间(MB)”处输入数字!");
    return;
  }
  f.submit();
}
</script>
</head>
<body bgcolor="#6699cc">
<form name="form1" method="post" action="Sys_Modify.asp" target="detail" enctype="multipart/form-data">
<table width="90%" border="0" align="center" cellspacing="1" cellpadding="4" bgcolor="#FFFFFF">
<tr><td colspan="2" align="center" bgcolor="#336699"><font color="#FFFFFF"><b>修改系统参数</b></font></td></tr>
)~");
        const char* gap = "<tr><td colspan=\"2\">&nbsp;</td></tr>";
        Response.line("<tr><td width=\"20%\" rowspan=\"3\" align=\"center\">登录选项</td><td>" + checkbox("forgetpass") +
                      "显示 [ 忘记密码 ] 项</td></tr>");
        Response.line("<tr><td>" + checkbox("regnewuser") + "显示 [ 新用户注册 ] 项</td></tr>");
        Response.line("<tr><td>" + checkbox("indroduce") + "显示 [ 系统简介 ] 项</td></tr>");
        Response.line(gap);
        Response.line("<tr><td align=\"center\">首页提示</td><td>" + checkbox("pop_note") + "首页显示时弹出最近通知</td></tr>");
        Response.line(gap);
        Response.line("<tr><td rowspan=\"4\" align=\"center\">办公提示</td><td>" + checkbox("work_pop") +
                      "弹出 [ 未办理的事项 ]</td></tr>");
        Response.line("<tr><td>间隔时间<input type=\"text\" name=\"work_time\" size=\"4\" value=\"" +
                      html_text(value_of("work_time")) + "\">秒</td></tr>");
        Response.line("<tr><td>" + checkbox("pop_music") + "背景音乐");
        Value music = value_of("music");
        Response.line(" [ 当前背景音乐:" + html_text(music) + " ]<br>更改背景音乐为<input type=\"file\" name=\"mfile\">"
                      "<input type=\"hidden\" name=\"old_music\" value=\"" + html_text(music) + "\"></td></tr>");
        Response.line("<tr><td>状态栏刷新时间<input type=\"text\" name=\"stat_time\" size=\"4\" value=\"" +
                      html_text(value_of("stat_time")) +
                      "\">秒 [ 间隔过长，信息得不到及时更新；间隔太短，将消耗更多服务器资源。]</td></tr>");
        Response.line(gap);
        Response.line("<tr><td rowspan=\"2\" align=\"center\">空间限额</td><td>个人文件柜空间(MB)"
                      "<input type=\"text\" name=\"quota_store\" size=\"6\" value=\"" +
                      html_text(quota_of("quota_store", "200")) + "\"></td></tr>");
        Response.line("<tr><td>邮件附件空间(MB)<input type=\"text\" name=\"quota_mail\" size=\"6\" value=\"" +
                      html_text(quota_of("quota_mail", "100")) + "\"></td></tr>");
        Response.line(gap);
        bool close_window = value_of("logout") == "1";
        Response.line(std::string("<tr><td align=\"center\">退出选项</td><td>用户退出时<select name=\"logout\">"
                                  "<option value=\"1\"") + (close_window ? " selected" : "") +
                      ">关闭浏览器窗口</option><option value=\"0\"" + (close_window ? "" : " selected") +
                      ">返回至登录页</option></select></td></tr>");
        Response.line(gap);
        Response.lines(R"~(<tr><td colspan="2" align="center"><input type="button" name="go" value="提 交" class="buttons02" onclick="do_submit()"></td></tr>
</table>
</form>
</body>
</html>
)~");
    }

    UploadGroup up{*this};
};

TAVELOR_PAGE(sysmodify, "Sys_Modify.asp", access::right("1901").with("stores only whole numbers in the time and quota boxes"))

}  // namespace tav::pages
