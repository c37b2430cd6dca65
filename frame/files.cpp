#include "frame/files.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

#include "frame/context.h"
#include "frame/encoding.h"
#include "frame/errors.h"
#include "frame/host.h"
#include "frame/paths.h"
#include "frame/site_layout.h"

namespace fs = std::filesystem;

namespace tav {

namespace {

std::string time_text(std::time_t t) {
    std::tm tm{};
    localtime_r(&t, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &tm);
    return buf;
}

std::string base_name(const std::string& p) {
    std::size_t slash = p.rfind('/');
    return slash == std::string::npos ? p : p.substr(slash + 1);
}

FileItem file_item(const std::string& path) {
    FileItem f;
    f.Path = path;
    f.Name = base_name(path);
    struct stat st;
    if (::stat(path.c_str(), &st) == 0) {
        f.Size = static_cast<std::uint64_t>(st.st_size);
        f.DateLastModified = time_text(st.st_mtime);
    }
    return f;
}

bool is_dir(const std::string& p) {
    struct stat st;
    return ::stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}
bool is_file(const std::string& p) {
    struct stat st;
    return ::stat(p.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

std::string parent_of(const std::string& p) {
    std::size_t slash = p.rfind('/');
    return slash == 0 ? "/" : p.substr(0, slash);
}

void write_file(const std::string& path, const std::string& text, bool append) {
    std::ofstream out(path, std::ios::binary | (append ? std::ios::app : std::ios::trunc));
    if (!out) raise_error(err::path_not_found);
    out << utf8_to_gb(text);
    if (!out) raise_error(err::path_access);
}

// The database folder may be looked into but not changed: nothing is made,
// deleted or moved in it, and nothing moves out of it (outside it the
// database would be served as a plain file).
void refuse_store(const std::string& resolved) {
    Context* ctx = current_context();
    if (!ctx || !ctx->server) return;
    if (path_inside(lower(layout::database_folder(ctx->server->root())), lower(resolved))) raise_error(err::permission_denied);
}

}  // namespace

std::string FileSystemObject::resolve(const std::string& path) {
    std::string resolved;
    if (!physical_path(path, resolved)) raise_error(err::path_not_found);
    Context* ctx = current_context();
    if (ctx && ctx->server && !path_inside(ctx->server->root(), resolved))
        raise_error(err::permission_denied);
    return resolved;
}

bool FileSystemObject::FileExists(const std::string& path, Loc loc) const {
    host_call(loc);
    return is_file(resolve(path));
}

bool FileSystemObject::FolderExists(const std::string& path, Loc loc) const {
    host_call(loc);
    return is_dir(resolve(path));
}

void FileSystemObject::CreateFolder(const std::string& path, Loc loc) const {
    host_call(loc);
    std::string p = resolve(path);
    refuse_store(p);
    if (is_dir(p) || is_file(p)) raise_error(err::file_exists);
    if (!is_dir(parent_of(p))) raise_error(err::path_not_found);
    std::error_code ec;
    if (!fs::create_directory(p, ec)) raise_error(err::permission_denied);
}

void FileSystemObject::DeleteFile(const std::string& path, Loc loc) const {
    host_call(loc);
    std::string p = resolve(path);
    if (!is_file(p)) raise_error(err::file_not_found);
    refuse_store(p);
    std::error_code ec;
    if (!fs::remove(p, ec)) raise_error(err::permission_denied);
}

void FileSystemObject::DeleteFolder(const std::string& path, Loc loc) const {
    host_call(loc);
    std::string p = resolve(path);
    if (!is_dir(p)) raise_error(err::path_not_found);
    Context* ctx = current_context();
    if (ctx && ctx->server && p == ctx->server->root()) raise_error(err::permission_denied);
    refuse_store(p);
    std::error_code ec;
    fs::remove_all(p, ec);
    if (ec) raise_error(err::permission_denied);
}

void FileSystemObject::MoveFile(const std::string& from, const std::string& to, Loc loc) const {
    host_call(loc);
    std::string a = resolve(from), b = resolve(to);
    if (!is_file(a)) raise_error(err::file_not_found);
    refuse_store(a);
    refuse_store(b);
    if (is_file(b) || is_dir(b)) raise_error(err::file_exists);
    std::error_code ec;
    fs::rename(a, b, ec);
    if (ec) raise_error(err::path_not_found);
}

void FileSystemObject::MoveFolder(const std::string& from, const std::string& to, Loc loc) const {
    host_call(loc);
    std::string a = resolve(from), b = resolve(to);
    if (!is_dir(a)) raise_error(err::path_not_found);
    refuse_store(a);
    refuse_store(b);
    if (is_file(b) || is_dir(b)) raise_error(err::file_exists);
    if (path_inside(a, b)) raise_error(err::permission_denied);
    std::error_code ec;
    fs::rename(a, b, ec);
    if (ec) raise_error(err::path_not_found);
}

FolderItem FileSystemObject::GetFolder(const std::string& path, Loc loc) const {
    host_call(loc);
    std::string p = resolve(path);
    if (!is_dir(p)) raise_error(err::path_not_found);
    return FolderItem{base_name(p), p};
}

FileItem FileSystemObject::GetFile(const std::string& path, Loc loc) const {
    host_call(loc);
    std::string p = resolve(path);
    if (!is_file(p)) raise_error(err::file_not_found);
    return file_item(p);
}

void FileSystemObject::AppendText(const std::string& path, const std::string& text, Loc loc) const {
    host_call(loc);
    write_file(resolve(path), text, true);
}

void FileSystemObject::WriteText(const std::string& path, const std::string& text, Loc loc) const {
    host_call(loc);
    write_file(resolve(path), text, false);
}

std::vector<FileItem> FolderItem::Files(std::source_location loc) const {
    host_call(loc);
    std::vector<FileItem> out;
    std::error_code ec;
    std::size_t seen = 0;
    for (const auto& e : fs::directory_iterator(Path, ec)) {
        if (++seen % 256 == 0) host_call(loc);  // a huge folder still meets the time limit
        if (e.is_regular_file()) out.push_back(file_item(e.path().string()));
    }
    std::sort(out.begin(), out.end(), [](auto& a, auto& b) { return a.Name < b.Name; });
    return out;
}

std::vector<FolderItem> FolderItem::SubFolders(std::source_location loc) const {
    host_call(loc);
    std::vector<FolderItem> out;
    std::error_code ec;
    std::size_t seen = 0;
    for (const auto& e : fs::directory_iterator(Path, ec)) {
        if (++seen % 256 == 0) host_call(loc);
        if (e.is_directory()) out.push_back(FolderItem{e.path().filename().string(), e.path().string()});
    }
    std::sort(out.begin(), out.end(), [](auto& a, auto& b) { return a.Name < b.Name; });
    return out;
}

}  // namespace tav
