#include "media/media_common.h"

#include <utility>

#include "frame/files.h"
#include "frame/host.h"
#include "frame/html.h"
#include "frame/paths.h"
#include "frame/vb.h"

namespace tav::media {

int kind_position(const std::vector<std::string>& keys, const std::string& key) {
    for (std::size_t i = 0; i < keys.size(); ++i)
        if (keys[i] == key) return static_cast<int>(i);
    return -1;
}

std::string media_path(const std::string& url, const Value& path, const Value& filename, const std::string& page) {
    return Replace(url + path.str() + filename.str(), "/" + page, "");
}

std::string app_path(const std::string& url, const std::string& page) { return Replace(url, "/" + page, ""); }

void write_playlist(const std::string& relative, const std::vector<std::string>& lines) {
    FileSystemObject fso;
    std::string file = Server.MapPath(".") + relative;
    if (fso.FileExists(file)) fso.DeleteFile(file);
    // Created even for an empty list, as opening it for appending would.
    fso.AppendText(file, "");
    for (const std::string& line : lines) fso.AppendText(file, line + "\r\n");
}

namespace {

// The player's parameters, always all of them and in this order.
const std::pair<const char*, const char*> kWmpParams[] = {
    {"AudioStream", "-1"}, {"AutoSize", "-1"}, {"AutoStart", "-1"}, {"AnimationAtStart", "-1"},
    {"AllowScan", "-1"}, {"AllowChangeDisplaySize", "-1"}, {"AutoRewind", "0"}, {"Balance", "0"},
    {"BufferingTime", "5"}, {"ClickToPlay", "-1"}, {"CursorType", "0"}, {"CurrentPosition", "-1"},
    {"CurrentMarker", "0"}, {"DisplayBackColor", "0"}, {"DisplayForeColor", "16777215"}, {"DisplayMode", "0"},
    {"DisplaySize", "0"}, {"Enabled", "-1"}, {"EnableContextMenu", "-1"}, {"EnablePositionControls", "-1"},
    {"EnableFullScreenControls", "0"}, {"EnableTracker", "-1"}, {"FileName", nullptr}, {"InvokeURLs", "-1"},
    {"Language", "-1"}, {"Mute", "0"}, {"PlayCount", "1"}, {"PreviewMode", "0"}, {"Rate", "1"},
    {"SelectionStart", "-1"}, {"SelectionEnd", "-1"}, {"SendOpenStateChangeEvents", "-1"},
    {"SendWarningEvents", "-1"}, {"SendErrorEvents", "-1"}, {"SendKeyboardEvents", "0"},
    {"SendMouseClickEvents", "0"}, {"SendMouseMoveEvents", "0"}, {"SendPlayStateChangeEvents", "-1"},
    {"ShowCaptioning", "0"}, {"ShowControls", "-1"}, {"ShowAudioControls", "0"}, {"ShowDisplay", "0"},
    {"ShowGotoBar", nullptr}, {"ShowPositionControls", "-1"}, {"ShowStatusBar", "1"}, {"ShowTracker", "1"},
    {"TransparentAtStart", "0"}, {"VideoBorderWidth", "-1"}, {"VideoBorderColor", "4"}, {"VideoBorder3D", "-1"},
    {"Volume", "-200"}, {"WindowlessVideo", "0"},
};

const char kRealClass[] = "clsid:CFCDAA03-8BE4-11cf-B84B-0020AFBBCCFA";

}  // namespace

std::string wmp_object(const std::string& address, int embed_width, int goto_bar) {
    std::string a = html_text(address);
    std::string out =
        "<OBJECT classid=\"CLSID:22D6F312-B0F6-11D0-94AB-0080C74C7E95\" id=nsPlay1 type=application/x-oleobject "
        "height=100 width=275 standby=\"Loading Microsoft Windows Media Player components...\">\r\n";
    for (const auto& [name, value] : kWmpParams) {
        std::string v = value ? value : std::string(name) == "FileName" ? a : std::to_string(goto_bar);
        out += std::string("<PARAM NAME=\"") + name + "\" VALUE=\"" + v + "\">\r\n";
    }
    out += "<EMBED type=\"audio/x-ms-asf\" src=\"" + a + "\" height=100 width=" + std::to_string(embed_width) +
           " AUTOSTART=\"true\"></EMBED>\r\n</OBJECT>";
    return out;
}

std::string real_audio_object(const std::string& address) {
    std::string a = html_text(address);
    return std::string("<OBJECT ID=video1 CLASSID=\"") + kRealClass + "\" HEIGHT=100 WIDTH=275>\r\n" +
           "<PARAM NAME=\"controls\" VALUE=\"All\">\r\n<PARAM NAME=\"console\" VALUE=\"Clip1\">\r\n"
           "<PARAM NAME=\"autostart\" VALUE=\"true\">\r\n<PARAM NAME=\"src\" VALUE=\"" + a + "\">\r\n" +
           "<EMBED SRC=\"" + a + "\" type=\"audio/x-pn-realaudio-plugin\" CONSOLE=\"Clip1\" "
           "CONTROLS=\"ControlPanel,StatusBar\" HEIGHT=100 WIDTH=275 AUTOSTART=true>\r\n</OBJECT>";
}

std::string real_video_objects(const std::string& address) {
    std::string a = html_text(address);
    return std::string("<table border=0 cellpadding=0 cellspacing=0>\r\n<tr><td>\r\n") +
           "<OBJECT ID=video1 CLASSID=\"" + kRealClass + "\" HEIGHT=240 WIDTH=352>\r\n" +
           "<PARAM NAME=\"controls\" VALUE=\"ImageWindow\">\r\n<PARAM NAME=\"console\" VALUE=\"Clip1\">\r\n"
           "<PARAM NAME=\"autostart\" VALUE=\"true\">\r\n<PARAM NAME=\"src\" VALUE=\"" + a + "\">\r\n" +
           "<EMBED SRC=\"" + a + "\" type=\"audio/x-pn-realaudio-plugin\" CONSOLE=\"Clip1\" "
           "CONTROLS=\"ImageWindow\" HEIGHT=240 WIDTH=352 AUTOSTART=true>\r\n</OBJECT>\r\n</td></tr>\r\n"
           "<tr><td>\r\n<OBJECT ID=video1 CLASSID=\"" + kRealClass + "\" HEIGHT=60 WIDTH=352>\r\n" +
           "<PARAM NAME=\"controls\" VALUE=\"ControlPanel,StatusBar\">\r\n"
           "<PARAM NAME=\"console\" VALUE=\"Clip1\">\r\n"
           "<EMBED type=\"audio/x-pn-realaudio-plugin\" CONSOLE=\"Clip1\" CONTROLS=\"ControlPanel,StatusBar\" "
           "HEIGHT=60 WIDTH=352 AUTOSTART=true>\r\n</OBJECT>\r\n</td></tr>\r\n</table>";
}

bool removable_media_file(const std::string& physical) {
    std::string phys, root;
    if (!physical_path(physical, phys) || !physical_path(Server.object().root(), root)) return false;
    std::size_t slash = phys.rfind('/');
    std::string folder = lower(phys.substr(0, slash));
    std::string name = lower(phys.substr(slash + 1));
    root = lower(root);
    if (!path_inside(root, folder) || folder == root || path_inside(root + "/datebase", folder)) return false;
    if (name.empty() || name[0] == '.') return false;
    for (std::string_view tail : {"-journal", "-wal", "-shm", ".mdb", ".sql", ".log"})
        if (name.size() >= tail.size() && name.compare(name.size() - tail.size(), tail.size(), tail) == 0)
            return false;
    return true;
}

}  // namespace tav::media
