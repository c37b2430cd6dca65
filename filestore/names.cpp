#include "filestore/names.h"

#include <filesystem>
#include <system_error>

#include "frame/access.h"
#include "frame/host.h"
#include "frame/html.h"
#include "frame/store.h"
#include "frame/vb.h"

namespace tav::filestore {

namespace fs = std::filesystem;

std::string shown_name(const std::string& folder) {
    std::string rest = Replace(folder, "\\user\\", "");
    long n = InStr(rest, "\\");
    std::string shown = Right(rest, Len(rest) - n + 1);
    if (Left(shown, 1) != "\\") shown.assign(1, '\\');
    return shown;
}

namespace {

bool reserved_device(const std::string& name) {
    // The part before the first dot names the device: "con.txt" is CON too.
    std::string stem = name.substr(0, name.find('.'));
    while (!stem.empty() && stem.back() == ' ') stem.pop_back();
    for (char& c : stem) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
    if (stem == "CON" || stem == "PRN" || stem == "AUX" || stem == "NUL") return true;
    return stem.size() == 4 && (stem.starts_with("COM") || stem.starts_with("LPT")) && stem[3] >= '1' &&
           stem[3] <= '9';
}

}  // namespace

std::string name_problem(const std::string& name) {
    if (name.empty() || name == "." || name == "..") return "名称不能为空，也不能是“.”或“..”。";
    if (name.size() > 200) return "名称太长（最多200字节）。";
    for (unsigned char c : name) {
        if (c == '/' || c == '\\') return "名称中不能含有“/”或“\\”。";
        if (c < 0x20 || c == 0x7f) return "名称中不能含有控制字符。";
    }
    if (name.find("..") != std::string::npos) return "名称中不能含有“..”。";
    if (reserved_device(name)) return "名称不能是系统保留的设备名（CON、PRN、AUX、NUL、COM1-9、LPT1-9）。";
    return "";
}

std::string account_root(Connection& conn) {
    std::string id = session_account();
    if (id.empty()) return "";
    Recordset rs = conn.execute("select username from user where id="_sql + id);
    if (rs.eof()) return "";
    std::string username = Trim(rs("username")).str();
    if (!name_problem(username).empty()) return "";
    return "\\user\\" + username;
}

bool inside(const std::string& folder, const std::string& root) {
    if (root.empty()) return false;
    if (folder == root) return true;
    if (!folder.starts_with(root + "\\")) return false;
    std::size_t at = root.size() + 1;
    while (true) {
        std::size_t next = folder.find('\\', at);
        std::string part = folder.substr(at, next == std::string::npos ? std::string::npos : next - at);
        if (!name_problem(part).empty()) return false;
        if (next == std::string::npos) return true;
        at = next + 1;
    }
}

std::uintmax_t folder_bytes(const std::string& physical, std::size_t limit, bool& complete) {
    std::uintmax_t sum = 0;
    std::size_t seen = 0;
    complete = true;
    std::error_code ec;
    fs::recursive_directory_iterator it(physical, fs::directory_options::skip_permission_denied, ec);
    for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        if (++seen > limit) {
            complete = false;
            break;
        }
        std::error_code fec;
        if (it->is_regular_file(fec)) {
            std::uintmax_t size = it->file_size(fec);
            if (!fec) sum += size;
        }
    }
    return sum;
}

std::uintmax_t quota_bytes(Connection& conn) {
    constexpr std::uintmax_t kMegabyte = 1024 * 1024;
    constexpr std::uintmax_t kDefaultMegabytes = 200;
    Recordset rs = conn.execute("select Hardserial from software where softname='quota_store'");
    if (rs.eof()) return kDefaultMegabytes * kMegabyte;
    std::string text = Trim(rs("Hardserial")).str();
    std::uintmax_t mb = 0;
    for (char c : text) {
        if (c < '0' || c > '9' || mb > 1000000000) return kDefaultMegabytes * kMegabyte;
        mb = mb * 10 + static_cast<std::uintmax_t>(c - '0');
    }
    return (mb == 0 ? kDefaultMegabytes : mb) * kMegabyte;
}

void refuse_name(const std::string& why) {
    ResponseObject& out = Response.object();
    out.body().clear();
    out.set_status(400);
    out.write("<html>\r\n<head>\r\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
              "<title>名称不可用</title>\r\n<link rel=\"stylesheet\" href=\"style.css\" type=\"text/css\">\r\n"
              "</head>\r\n<body>\r\n<p align=\"center\"><br><br>");
    out.write(html_text(why));
    out.write("</p>\r\n<p align=\"center\"><a href=\"#\" onclick=\"history.back();return false;\">返回</a></p>\r\n</body>\r\n</html>\r\n");
    END_PAGE();
}

}  // namespace tav::filestore
