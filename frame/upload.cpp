#include "frame/upload.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>
#include <unordered_set>

#include "frame/encoding.h"
#include "frame/files.h"
#include "frame/host.h"
#include "frame/html.h"
#include "frame/names.h"
#include "frame/page.h"
#include "frame/paths.h"
#include "frame/quota.h"
#include "frame/site_layout.h"

namespace tav {

namespace {

using i64 = std::int64_t;
using Loc = std::source_location;

// The stream errors the group can meet, numbered as the stream object numbers them.
constexpr long kStreamArgs = 3001;
constexpr long kWriteFailed = 3004;
constexpr long kObjectRequired = 424;

[[noreturn]] void bad_count() {
    raise_error(kStreamArgs,
                "Arguments are of the wrong type, are out of acceptable range, or are in conflict "
                "with one another.");
}

const char kRefusal[] =
    "<br><font size=2 color=red>上传文件失败，文件已经存在于服务器上，请更名后重试。</font><br>";

// No upload may land in the site root or the database folder, nor be named
// like the database's side files or a hidden file: those would be served
// as pages of the site or taken for a part of the database.
bool forbidden_target(const std::string& full_path) {
    std::string phys, root;
    if (!physical_path(full_path, phys) || !physical_path(Server.object().root(), root)) return true;
    std::size_t slash = phys.rfind('/');
    std::string folder = lower(phys.substr(0, slash));
    std::string name = lower(phys.substr(slash + 1));
    root = lower(root);
    if (!path_inside(root, folder) || folder == root || path_inside(layout::database_folder(root), folder)) return true;
    if (name.empty() || name[0] == '.') return true;
    for (std::string_view tail : {"-journal", "-wal", "-shm", ".mdb", ".sql", ".log"})
        if (name.size() >= tail.size() && name.compare(name.size() - tail.size(), tail.size(), tail) == 0)
            return true;
    return false;
}

// Byte searches and reads over the request body, which may lie in a file:
// nothing here holds more than a window of it. The parse moves forward, so
// the window read for one search serves the following searches and reads
// until they pass its end; each byte of the body is read about once.
class BodyView {
public:
    BodyView(const RequestBody* body, i64 total) : body_(body), total_(total) {}

    // One-based position of pat at or after the one-based start; 0 when absent.
    i64 instrb(i64 start, std::string_view pat) {
        host_call(Loc::current());
        if (start < 1) raise_error(err::invalid_call);
        if (start > total_) return 0;
        if (pat.empty()) return start;
        const i64 plen = static_cast<i64>(pat.size());
        i64 off = start - 1;
        for (;;) {
            if (off + plen > total_) return 0;
            if (off < buf_off_ || off + plen > buf_end()) {
                load(off, UploadGroup::chunk + pat.size() - 1);
                if (buf_end() - off < plen) return 0;
            }
            const char* from = buf_.data() + (off - buf_off_);
            const void* hit = ::memmem(from, static_cast<std::size_t>(buf_end() - off), pat.data(), pat.size());
            if (hit) return buf_off_ + (static_cast<const char*>(hit) - buf_.data()) + 1;
            if (short_ || buf_end() >= total_) return 0;
            off = buf_end() - (plen - 1);
        }
    }

    // count bytes from the zero-based offset, fewer at the end of the body.
    std::string read(i64 offset, i64 count) const {
        host_call(Loc::current());
        if (count < 0 || offset < 0) bad_count();
        if (offset >= total_ || count == 0) return {};
        count = std::min(count, total_ - offset);
        if (offset >= buf_off_ && offset + count <= buf_end())
            return buf_.substr(static_cast<std::size_t>(offset - buf_off_), static_cast<std::size_t>(count));
        std::string out(static_cast<std::size_t>(count), '\0');
        out.resize(body_->read_at(static_cast<std::uint64_t>(offset), out.data(), out.size()));
        return out;
    }

private:
    i64 buf_end() const { return buf_off_ + static_cast<i64>(buf_.size()); }

    void load(i64 off, std::size_t window) {
        std::size_t want = static_cast<std::size_t>(std::min<i64>(total_ - off, static_cast<i64>(window)));
        buf_.resize(want);
        buf_.resize(body_->read_at(static_cast<std::uint64_t>(off), buf_.data(), want));
        buf_off_ = off;
        short_ = buf_.size() < want;  // the body ended early: nothing lies behind
    }

    const RequestBody* body_;
    i64 total_;
    std::string buf_;
    i64 buf_off_ = 0;
    bool short_ = false;
};

// ---- Header text, indexed by characters.

std::u32string to_u32(std::string_view s) {
    std::u32string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size();) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        char32_t cp;
        int n;
        if (c < 0x80) { cp = c; n = 1; }
        else if ((c >> 5) == 6) { cp = c & 0x1F; n = 2; }
        else if ((c >> 4) == 14) { cp = c & 0x0F; n = 3; }
        else if ((c >> 3) == 30) { cp = c & 0x07; n = 4; }
        else { out.push_back(0xFFFD); ++i; continue; }
        if (i + n > s.size()) { out.push_back(0xFFFD); break; }
        for (int k = 1; k < n; ++k) cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
        out.push_back(cp);
        i += n;
    }
    return out;
}

std::string to_utf8(std::u32string_view s) {
    std::string out;
    for (char32_t cp : s) append_utf8(out, cp);
    return out;
}

char32_t fold(char32_t c) { return (c >= 'A' && c <= 'Z') ? c - 'A' + 'a' : c; }

// InStr on characters: one-based, 0 when absent; text compare ignores case.
i64 instr(i64 start, const std::u32string& s, std::u32string_view p, bool text) {
    if (start < 1) raise_error(err::invalid_call);
    const i64 n = static_cast<i64>(s.size()), m = static_cast<i64>(p.size());
    if (start > n) return 0;
    if (m == 0) return start;
    for (i64 i = start - 1; i + m <= n; ++i) {
        i64 k = 0;
        while (k < m && (text ? fold(s[i + k]) == fold(p[k]) : s[i + k] == p[k])) ++k;
        if (k == m) return i + 1;
    }
    return 0;
}

// Mid on characters: fails on a start below 1 or a negative length.
std::u32string mid(const std::u32string& s, i64 start, i64 len) {
    if (start < 1 || len < 0) raise_error(err::invalid_call);
    const i64 n = static_cast<i64>(s.size());
    if (start > n) return {};
    return s.substr(static_cast<std::size_t>(start - 1), static_cast<std::size_t>(std::min(len, n - start + 1)));
}

std::string file_path_of(const std::string& s) {
    std::size_t at = s.rfind('\\');
    return at == std::string::npos ? std::string() : s.substr(0, at + 1);
}

std::string file_name_of(const std::string& s) {
    std::size_t at = s.rfind('\\');
    return at == std::string::npos ? s : s.substr(at + 1);
}

}  // namespace

std::string megabytes(std::uint64_t bytes) {
    constexpr std::uint64_t mb = 1024 * 1024;
    if (bytes % mb == 0) return std::to_string(bytes / mb);
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", static_cast<double>(bytes) / mb);
    return text;
}

std::string too_large_text(std::string_view headline, std::string_view limit_line) {
    // No script and no link: the browser's own Back leads to the form.
    std::string page =
        "<html>\r\n<head>\r\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">\r\n"
        "<title>文件太大</title>\r\n<link rel=\"stylesheet\" href=\"style.css\" type=\"text/css\">\r\n</head>\r\n"
        "<body>\r\n<br><br>\r\n"
        "<table width=\"400\" border=\"0\" cellspacing=\"0\" cellpadding=\"0\" align=\"center\">\r\n"
        "<tr bgcolor=\"#336699\" height=\"28\"><td><font color=\"#FFFFFF\">&nbsp;提示信息</font></td></tr>\r\n"
        "<tr><td align=\"center\" height=\"120\">\r\n"
        "<font color=\"red\">";
    page += headline;
    page += "</font><br><br>\r\n";
    page += limit_line;
    page += "<br><br>\r\n"
            "请点击浏览器的“后退”按钮返回表单，换一个较小的文件后重新提交。\r\n"
            "</td></tr>\r\n"
            "<tr><td height=\"4\" bgcolor=\"#6d8e4d\"></td></tr>\r\n"
            "</table>\r\n</body>\r\n</html>\r\n";
    return page;
}

std::string too_large_text(std::string_view limit_line) {
    return too_large_text("上传的文件太大，没有发送成功。", limit_line);
}

namespace {

// Ends the page with the oversize answer in place of whatever it wrote.
[[noreturn]] void answer_too_large(std::string_view headline, std::string_view line, std::string_view why) {
    if (Context* ctx = current_context(); ctx && ctx->log && ctx->request) {
        std::string account = ctx->session ? ctx->session->get("user_id").str() : "";
        ctx->log->write(2, "Tavelor.Refused upload " + ctx->request->path() + " address " +
                               ctx->request->data().remote_addr + " account " + (account.empty() ? "-" : account) +
                               " (" + std::string(why) + ")");
    }
    ResponseObject& out = Response.object();
    out.body().clear();
    out.set_status(413);
    out.write(too_large_text(headline, line));
    END_PAGE();
}

}  // namespace

void UploadGroup::upload_initialize() {
    over_ = Over::None;
    quota_checked_ = false;
    // Checked outside the routine: the answer ends the page, not the routine.
    if (Request.TotalBytes() > limits.request_bytes) refuse_over(Over::Request);
    page_.routine("upload_initialize", [&] { parse(); });
    if (over_ != Over::None) refuse_over(over_);
}

void UploadGroup::refuse_over(Over over) {
    fields_.clear();
    files_.clear();
    field_at_.clear();
    file_names_.clear();
    const char* why = "request";
    std::string line;
    if (over == Over::File) {
        why = "file size";
        line = "每个附件不能超过 " + megabytes(static_cast<std::uint64_t>(limits.file_bytes)) + " MB。";
    } else if (over == Over::Parts) {
        why = "part count";
        line = "一次提交的内容不能超过 " + std::to_string(limits.parts) + " 项。";
    } else {
        line = "一次提交的内容（所有附件合计）不能超过 " +
               megabytes(static_cast<std::uint64_t>(limits.request_bytes)) + " MB。";
    }
    answer_too_large("上传的文件太大，没有发送成功。", line, why);
}

void UploadGroup::check_quota() {
    if (!quota_.used || quota_checked_) return;
    quota_checked_ = true;
    i64 adding = 0;
    for (const FileRecord& r : files_)
        if (!r.file_name.empty()) adding += r.file_size;
    if (adding == 0) return;
    // A failing measure is reported like any routine's failure and lets the
    // files through: the quota guards space, not access.
    bool measured = false;
    i64 cap = 0, used = 0;
    page_.routine("upload_file", [&] {
        cap = quota_bytes(page_, quota_.softname, quota_.default_mb);
        used = quota_.used(page_);
        measured = true;
    });
    if (!measured || used + adding <= cap) return;
    // Sizes under a megabyte in kilobytes, rounded up: "0.0 MB" says nothing.
    auto size = [](i64 b) {
        b = std::max<i64>(b, 0);
        return b >= (1 << 20) ? megabytes(static_cast<std::uint64_t>(b)) + " MB"
                              : std::to_string((b + 1023) / 1024) + " KB";
    };
    answer_too_large("超出了" + quota_.what + "的存储限额，没有发送成功。",
                     "已保存的" + quota_.what + "共 " + size(used) + "，加上这次的 " + size(adding) +
                         "，超过了限额 " + size(cap) + "。请先删除一些不再需要的" + quota_.what + "。",
                     "quota " + std::string(quota_.softname));
}

void UploadGroup::add_field(const std::string& name, const std::string& value) {
    auto [it, added] = field_at_.emplace(name, fields_.size());
    if (!added) {
        std::string& v = fields_[it->second].second;
        v += ", ";
        v += value;
        return;
    }
    fields_.emplace_back(name, value);
}

void UploadGroup::parse() {
    fields_.clear();
    files_.clear();
    field_at_.clear();
    file_names_.clear();
    const i64 total = Request.TotalBytes();
    if (total < 1) return;
    const RequestBody* raw = Request.object().body();
    if (!raw) return;
    BodyView body(raw, total);

    // The body's first line is the boundary, whatever the headers say.
    i64 pos = 1;
    const i64 blen = body.instrb(pos, "\r\n") - 1;
    if (blen < 0) raise_error(err::invalid_call);
    const std::string boundary = body.read(0, blen);

    // A file part with no boundary behind it sends the walk back to the first
    // part, and round it would go until the script's time ran out; a position
    // met twice is that loop, so it ends the script the same way, at once.
    std::unordered_set<i64> seen;
    for (std::size_t parts = 1;; ++parts) {
        pos = pos + blen + 1;
        if (!(pos + 10 < total)) break;
        if (!seen.insert(pos).second) throw ScriptTimeout{};
        if (parts > limits.parts) {
            over_ = Over::Parts;
            return;
        }

        const i64 header_end = body.instrb(pos, "\r\n\r\n") + 3;
        const std::u32string header = to_u32(gb_to_utf8(body.read(pos, header_end - pos)));
        pos = body.instrb(header_end, boundary);

        const i64 n1 = instr(22, header, U"name=\"", true) + 6;
        const i64 n2 = instr(n1, header, U"\"", true);
        const std::string name = lower(to_utf8(mid(header, n1, n2 - n1)));

        if (instr(45, header, U"filename=\"", true) > 0) {
            const i64 f1 = instr(n2, header, U"filename=\"", true) + 10;
            const i64 f2 = instr(f1, header, U"\"", true);
            const std::string value = to_utf8(mid(header, f1, f2 - f1));
            const i64 t1 = instr(n2, header, U"Content-Type: ", true) + 14;
            const i64 t2 = instr(t1, header, U"\r", false);
            FileRecord rec;
            rec.form_name = name;
            rec.file_path = file_path_of(value);
            rec.file_name = file_name_of(value);
            rec.file_type = to_utf8(mid(header, t1, t2 - t1));
            rec.file_start = header_end;
            rec.file_size = pos - header_end - 3;
            if (rec.file_size > limits.file_bytes) {
                over_ = Over::File;
                return;
            }
            if (file_names_.insert(name).second) files_.push_back(std::move(rec));
        } else {
            add_field(name, gb_to_utf8(body.read(header_end, pos - header_end - 3)));
        }
    }
}

std::string UploadGroup::upload_form(std::string& name) {
    return page_.routine("upload_form", [&]() -> std::string {
        name = lower(name);
        for (const auto& [k, v] : fields_)
            if (k == name) return v;
        return "";
    });
}

std::string UploadGroup::upload_file(std::string& form_name, const std::string& folder,
                                     const std::string& prefix) {
    check_quota();
    return page_.routine("upload_file", [&]() -> std::string {
        form_name = lower(form_name);
        for (std::size_t i = 0; i < files_.size(); ++i) {
            const FileRecord rec = files_[i];
            if (rec.form_name != form_name) continue;
            const std::string leaf = upload_leaf_name(rec.file_name);  // never a path of the client's
            if (!safe_leaf_name(leaf) || !safe_leaf_name(prefix + leaf)) return "";
            std::string path = Server.MapPath(folder) + "\\" + prefix + leaf;
            if (!upload_save(path, rec).empty()) return prefix + leaf;
            return "";
        }
        return "";
    });
}

std::string UploadGroup::upload_save(const std::string& full_path, const FileRecord& rec) {
    return page_.routine("upload_save", [&]() -> std::string {
        if (full_path.find_first_not_of(' ') == std::string::npos || rec.file_start == 0 ||
            rec.file_name.empty() || full_path.back() == '/' || forbidden_target(full_path))
            return "";
        FileSystemObject fso;
        if (fso.FileExists(full_path)) {
            if (variant_ == Variant::UploadImg) return kRefusal;
            Response.write(kRefusal);
            return "";
        }
        host_call(Loc::current());
        const RequestBody* raw = Request.object().body();
        if (!raw) raise_error(kObjectRequired, "Object required");
        const i64 total = static_cast<i64>(raw->size());
        if (rec.file_size < 0 || rec.file_start < 0) bad_count();

        // Bounded copy from the body to the file; a failed write leaves no file.
        const std::string target = FileSystemObject::resolve(full_path);
        int fd = ::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0) raise_error(kWriteFailed, "Write to file failed.");
        std::string buf(std::min<std::size_t>(chunk, static_cast<std::size_t>(std::max<i64>(rec.file_size, 1))), '\0');
        i64 off = rec.file_start;
        i64 left = std::min(rec.file_size, std::max<i64>(total - off, 0));
        bool ok = true;
        while (left > 0 && ok) {
            std::size_t want = static_cast<std::size_t>(std::min<i64>(left, static_cast<i64>(buf.size())));
            std::size_t got = raw->read_at(static_cast<std::uint64_t>(off), buf.data(), want);
            if (got == 0) break;
            for (std::size_t done = 0; done < got;) {
                ssize_t w = ::write(fd, buf.data() + done, got - done);
                if (w <= 0) { ok = false; break; }
                done += static_cast<std::size_t>(w);
            }
            off += static_cast<i64>(got);
            left -= static_cast<i64>(got);
        }
        if (::close(fd) != 0) ok = false;
        if (!ok) {
            ::unlink(target.c_str());
            raise_error(kWriteFailed, "Write to file failed.");
        }
        // The client's name is shown back to it: as text.
        return "File : " + html_text(rec.file_path + rec.file_name) + " Uploaded!<br>";
    });
}

void UploadGroup::upload_terminate() {
    page_.routine("upload_terminate", [&] {
        if (Request.TotalBytes() > 0) {
            fields_.clear();
            files_.clear();
            field_at_.clear();
            file_names_.clear();
        }
    });
}

std::string UploadGroup::getfilepath(const std::string& s) {
    return page_.routine("getfilepath", [&]() -> std::string { return s.empty() ? "" : file_path_of(s); });
}

std::string UploadGroup::getfilename(const std::string& s) {
    return page_.routine("getfilename", [&]() -> std::string { return s.empty() ? "" : file_name_of(s); });
}

}  // namespace tav
