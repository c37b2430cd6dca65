// Medium_play_Video.asp: plays one video title in the player window, which
// grows for it.
#include "frame/files.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/site_layout.h"
#include "frame/vb.h"
#include "media/media_common.h"

namespace tav::pages {

class mediumplayvideo : public Page {
public:
    void I_init() override {
        dbI_init();
        FileSystemObject fso;
        if (!fso.FolderExists(Server.MapPath(".\\") + "\\Medium\\temp\\"))
            fso.CreateFolder(Server.MapPath(".\\") + "\\Medium\\temp\\");

        Value id = Request.querystring("ID");
        conn.execute("update Medium set click_num=click_num+1 where id="_sql + id);
        rs = conn.execute("select * from Medium where id="_sql + id);
        Value title = rs("Title");
        monitor("点播视频: " + title.text());

        const std::string page = "Medium_play_Video.asp";
        std::string url = Request.ServerVariables("URL");
        std::string host = Request.ServerVariables("HTTP_HOST");
        std::string path = media::media_path(url, rs("Path"), rs("filename"), page);
        std::string kind = LCase(rs("File_type"));
        bool wmp = false;
        std::string address;
        if (InStr(kind, "asf") > 0 || InStr(kind, "wmv") > 0) {
            wmp = true;
            address = "mms://" + host + path;
        } else if (InStr(kind, "rm") > 0) {
            // The video list names no title: one per user and count.
            std::string relative = layout::dir_at_root(layout::kMediaTempFolder) + "Video" + Session("USER_ID").str() +
                                   rs("click_num").str() + ".ram";
            media::write_playlist(relative, {"http://" + host + path});
            address = "http://" + host + media::app_path(url, page) + relative;
        } else {
            address = "http://" + host + path;
        }
        address = Replace(address, "\\", "/");

        Response.client_compat(kCompatDialogs);
        Response.lines(R"(
<html>
<head>
<meta http-equiv="Content-Type" content="text/html; charset=gb2312">
<meta http-equiv="pragma" content="no-cache">
)");
        Response.line("<meta http-equiv=\"expires\" content=\"" + NowText(0) + "\">");
        Response.line("<TITLE>" + html_text(title) + "</TITLE>");
        Response.lines(R"(
</head>
<body background="images/login_bj.gif" leftmargin="0" topmargin="0" marginwidth="0" marginheight="0">
<CENTER>
)");
        Response.line(wmp ? media::wmp_object(address, 352, 0) : media::real_video_objects(address));
        rs.close();
        conn.close();
        Response.lines(R"(
</CENTER>
</body>
<script language="javascript">
self.resizeTo(352,325);
self.moveTo(447,0);
window.focus();
</script>
</html>
)");
    }
};

TAVELOR_PAGE(mediumplayvideo, "Medium_play_Video.asp", access::right("1301|1311"))

}  // namespace tav::pages
