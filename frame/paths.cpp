#include "frame/paths.h"

#include <dirent.h>
#include <sys/stat.h>
#include <vector>

namespace tav {

std::string lower(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

bool iequals(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

bool normalize_path(std::string_view path, std::string& out) {
    std::vector<std::string_view> parts;
    std::size_t i = 0;
    while (i <= path.size()) {
        std::size_t j = i;
        while (j < path.size() && path[j] != '/' && path[j] != '\\') ++j;
        std::string_view part = path.substr(i, j - i);
        if (part == "..") {
            if (parts.empty()) return false;
            parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        i = j + 1;
    }
    out.clear();
    bool absolute = !path.empty() && (path[0] == '/' || path[0] == '\\');
    for (std::size_t k = 0; k < parts.size(); ++k) {
        if (k > 0 || absolute) out += '/';
        out += parts[k];
    }
    if (out.empty() && absolute) out.push_back('/');  // operator=(const char*) trips a false -Wrestrict in g++ 12
    return true;
}

std::string resolve_without_case(const std::string& normalized) {
    if (normalized.empty() || normalized[0] != '/') return normalized;
    // Most paths are written as they lie on disk: one stat instead of one
    // per folder from the root.
    struct stat whole;
    if (::stat(normalized.c_str(), &whole) == 0) return normalized;
    std::string done;
    std::size_t i = 1;
    bool exists = true;
    while (i <= normalized.size()) {
        std::size_t j = normalized.find('/', i);
        if (j == std::string::npos) j = normalized.size();
        std::string part = normalized.substr(i, j - i);
        if (part.empty()) break;
        if (exists) {
            std::string exact = done + "/" + part;
            struct stat st;
            if (::stat(exact.c_str(), &st) != 0) {
                std::string found;
                if (DIR* d = ::opendir(done.empty() ? "/" : done.c_str())) {
                    while (dirent* e = ::readdir(d)) {
                        if (iequals(e->d_name, part)) {
                            found = e->d_name;
                            break;
                        }
                    }
                    ::closedir(d);
                }
                if (!found.empty())
                    part = found;
                else
                    exists = false;
            }
        }
        done += "/" + part;
        i = j + 1;
    }
    return done.empty() ? "/" : done;
}

bool physical_path(std::string_view path, std::string& out) {
    std::string norm;
    if (!normalize_path(path, norm)) return false;
    out = resolve_without_case(norm);
    return true;
}

bool path_inside(const std::string& root, const std::string& path) {
    if (path.size() < root.size() || path.compare(0, root.size(), root) != 0) return false;
    return path.size() == root.size() || root == "/" || path[root.size()] == '/';
}

}  // namespace tav
