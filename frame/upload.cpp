#include "frame/upload.h"

#include <algorithm>
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
    if (!path_inside(root, folder) || folder == root || path_inside(root + "/datebase", folder)) return true;
    if (name.empty() || name[0] == '.') return true;
    for (std::string_view tail : {"-journal", "-wal", "-shm", ".mdb", ".sql", ".log"})
        if (name.size() >= tail.size() && name.compare(name.size() - tail.size(), tail.size(), tail) == 0)
            return true;
    return false;
}

// Byte searches and reads over the request body, which may lie in a file:
// nothing here holds more than a window of it.
class BodyView {
public:
    BodyView(const RequestBody* body, i64 total) : body_(body), total_(total) {}

    // One-based position of pat at or after the one-based start; 0 when absent.
    i64 instrb(i64 start, std::string_view pat) const {
        host_call(Loc::current());
        if (start < 1) raise_error(err::invalid_call);
        if (start > total_) return 0;
        if (pat.empty()) return start;
        const i64 plen = static_cast<i64>(pat.size());
        const std::size_t window = UploadGroup::chunk + pat.size() - 1;
        std::string buf;
        i64 off = start - 1;
        while (off + plen <= total_) {
            std::size_t want = static_cast<std::size_t>(std::min<i64>(total_ - off, static_cast<i64>(window)));
            buf.resize(want);
            std::size_t got = body_->read_at(static_cast<std::uint64_t>(off), buf.data(), want);
            if (static_cast<i64>(got) < plen) return 0;
            const void* hit = ::memmem(buf.data(), got, pat.data(), pat.size());
            if (hit) return off + (static_cast<const char*>(hit) - buf.data()) + 1;
            if (got < want) return 0;
            off += static_cast<i64>(got) - (plen - 1);
        }
        return 0;
    }

    // count bytes from the zero-based offset, fewer at the end of the body.
    std::string read(i64 offset, i64 count) const {
        host_call(Loc::current());
        if (count < 0 || offset < 0) bad_count();
        if (offset >= total_ || count == 0) return {};
        count = std::min(count, total_ - offset);
        std::string out(static_cast<std::size_t>(count), '\0');
        out.resize(body_->read_at(static_cast<std::uint64_t>(offset), out.data(), out.size()));
        return out;
    }

private:
    const RequestBody* body_;
    i64 total_;
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

void UploadGroup::upI_init() {
    page_.routine("upI_init", [&] { Response.write(""); });
}

void UploadGroup::upload_initialize() {
    page_.routine("upload_initialize", [&] { parse(); });
}

void UploadGroup::add_field(const std::string& name, const std::string& value) {
    for (auto& [k, v] : fields_)
        if (k == name) {
            v += ", " + value;
            return;
        }
    fields_.emplace_back(name, value);
}

bool UploadGroup::has_file(const std::string& name) const {
    for (const auto& f : files_)
        if (f.form_name == name) return true;
    return false;
}

void UploadGroup::parse() {
    fields_.clear();
    files_.clear();
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
    for (;;) {
        pos = pos + blen + 1;
        if (!(pos + 10 < total)) break;
        if (!seen.insert(pos).second) throw ScriptTimeout{};

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
            if (!has_file(name)) files_.push_back(std::move(rec));
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
