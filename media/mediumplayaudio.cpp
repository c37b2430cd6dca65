// Medium_play_Audio.asp: plays one audio title, or the titles picked on the
// list, in the player window. Every title's counter goes up first; the new
// count names the playlist file, so each play writes a file of its own.
#include "frame/files.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/site_layout.h"
#include "frame/vb.h"
#include "media/media_common.h"

namespace tav::pages {

class mediumplayaudio : public Page {
public:
    void I_init() override {
        dbI_init();
        FileSystemObject fso;
        if (!fso.FolderExists(Server.MapPath(".\\") + "\\Medium\\temp\\"))
            fso.CreateFolder(Server.MapPath(".\\") + "\\Medium\\temp\\");

        Value id = Request.querystring("ID");
        long length = Len(id);
        // The list's ids each end in a bar: the last character goes, whatever it is.
        if (InStr(id, "|") > 0) id = Left(id, length - 1);
        std::vector<std::string> ids = Split(id, "|");
        for (const std::string& one : ids) conn.execute("update Medium set click_num=click_num+1 where id="_sql + one);
        std::size_t count = ids.size();
        if (ids.empty()) raise_error(9, "Subscript out of range");

        rs = conn.execute("select * from Medium where id="_sql + ids[0]);
        Value title = rs("title");
        std::string window_title = title.text();
        if (count > 1) {
            // The first title is named and left out of the figure.
            window_title += " 等共 " + std::to_string(count - 1) + " 首……";
            monitor("点播多首音乐: " + title.text() + " 等共 " + std::to_string(count - 1) + " 首……");
        } else {
            monitor("点播音乐: " + title.text());
        }

        const std::string page = "Medium_play_Audio.asp";
        std::string url = Request.ServerVariables("URL");
        std::string host = Request.ServerVariables("HTTP_HOST");
        std::string kind = LCase(rs("File_type"));
        bool wmp = false;
        std::string address;
        std::string scheme;
        std::string ext;
        if (InStr(kind, "asf") > 0) {
            wmp = true;
            scheme = "mms://";
            ext = ".asx";
            for (std::string_view level : {layout::kMediaFolder, layout::kMediaTempFolder}) {
                std::string folder = Server.MapPath("./") + layout::dir_at_root(level);
                if (!fso.FolderExists(folder)) fso.CreateFolder(folder);
            }
        } else if (InStr(kind, "mp3") > 0) {
            scheme = "http://";
            ext = ".m3u";
        } else if (InStr(kind, "rm") > 0) {
            scheme = "http://";
            ext = ".ram";
        }
        if (!ext.empty()) {
            std::string relative = layout::dir_at_root(layout::kMediaTempFolder) + "Audio" + Session("USER_ID").str() +
                                   ids[0] + rs("click_num").str() + ext;
            std::vector<std::string> lines;
            for (const std::string& one : ids) {
                Recordset r = conn.execute("select * from Medium where id="_sql + one);
                lines.push_back(scheme + host + media::media_path(url, r("Path"), r("filename"), page));
            }
            media::write_playlist(relative, lines);
            address = "http://" + host + media::app_path(url, page) + relative;
            if (wmp && count > 1) {
                // The browser takes the list itself.
                Response.redirect(Replace(address, "\\", "/"));
                END_PAGE();
            }
        } else {
            // No list for a kind it does not know: the site's fixed tune.
            address = "http://" + host + "/sys_audio.mp3";
        }
        address = Replace(address, "\\", "/");

        Response.client_compat(kCompatDialogs);
        Response.lines(R"(
<html>
<head>
<meta http-equiv="Content-Type" content="text/html; charset=gb2312">
<meta http-equiv="pragma" content="no-cache">
)");
        Response.line("<meta http-equiv=\"expires\" content=\"" + NowText(-1) + "\">");
        Response.line("<TITLE>" + html_text(window_title) + "</TITLE>");
        Response.lines(R"(
</head>
<body background="images/login_bj.gif" leftmargin="0" topmargin="0" marginwidth="0" marginheight="0">
<center>
)");
        Response.line(wmp ? media::wmp_object(address, 275, 1) : media::real_audio_object(address));
        rs.close();
        conn.close();
        Response.lines(R"(
</center>
</body>
<script language="javascript">
self.resizeTo(275,125);
self.moveTo(523,0);
</script>
</html>
)");
    }
};

TAVELOR_PAGE(mediumplayaudio, "Medium_play_Audio.asp", access::right("1301|1311"))

}  // namespace tav::pages
