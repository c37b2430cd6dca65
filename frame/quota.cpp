#include "frame/quota.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <set>
#include <string>
#include <sys/stat.h>

#include "frame/files.h"
#include "frame/host.h"
#include "frame/page.h"
#include "frame/site_layout.h"
#include "frame/sql.h"

namespace tav {

std::int64_t quota_bytes(Page& page, const char* softname, int default_mb) {
    const std::int64_t fallback = static_cast<std::int64_t>(default_mb) << 20;
    Recordset rs = page.setting(softname);
    if (rs.eof()) return fallback;
    std::string text = rs("Hardserial").str();
    const char* begin = text.c_str();
    while (*begin == ' ') ++begin;
    if (!*begin) return fallback;
    char* end = nullptr;
    errno = 0;
    double mb = std::strtod(begin, &end);
    while (end && *end == ' ') ++end;
    if (errno || !end || *end || !std::isfinite(mb) || mb < 0 || mb > 1e9) return fallback;
    return static_cast<std::int64_t>(std::llround(mb * 1024 * 1024));
}

std::int64_t mail_attachment_bytes(Page& page, const Value& account) {
    // One row per recipient shares one Email_doc: distinct keeps the read
    // to one row per mail with files.
    Recordset rs = page.connection().execute("select distinct Email_doc from email where send_user_id="_sql +
                                             account + " and Email_doc<>'0'");
    std::set<std::string> names;
    for (; !rs.eof(); rs.movenext()) {
        const std::string doc = rs("Email_doc").str();
        for (std::size_t at = 0; at <= doc.size();) {
            std::size_t star = std::min(doc.find('*', at), doc.size());
            std::string name = doc.substr(at, star - at);
            if (!name.empty() && name != "0" && name.find_first_of("/\\") == std::string::npos && name != "." &&
                name != "..")
                names.insert(name);
            at = star + 1;
        }
    }
    std::int64_t total = 0;
    const std::string folder = Server.MapPath(std::string(layout::kMailFolder) + "/");
    for (const std::string& name : names) {
        std::string path;
        try {
            path = FileSystemObject::resolve(folder + "\\" + name);
        } catch (const std::exception&) {
            continue;
        }
        struct stat st;
        if (::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode)) total += st.st_size;
    }
    return total;
}

UploadQuota mail_attachment_quota() {
    return UploadQuota{"quota_mail", 100, [](Page& page) { return mail_attachment_bytes(page, Session("USER_ID")); },
                       "邮件附件"};
}

}  // namespace tav
