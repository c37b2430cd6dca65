// File helpers the tests share: a whole file as bytes, a file written with
// its folders, and a temporary folder that goes with its owner.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace tav::test {

// The whole file as bytes, "" when it cannot be read.
inline std::string slurp(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// Writes bytes to p, making its folders first.
inline void put_file(const std::filesystem::path& p, const std::string& bytes) {
    std::filesystem::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << bytes;
}

// A fresh folder under the system's temporary one, removed with the object.
class TempDir {
public:
    explicit TempDir(const std::string& prefix = "tavelor-test") {
        std::string tmpl = (std::filesystem::temp_directory_path() / (prefix + "-XXXXXX")).string();
        if (!::mkdtemp(tmpl.data())) throw std::runtime_error("mkdtemp failed");
        path_ = tmpl;
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return path_; }
    std::string str() const { return path_.string(); }
    std::filesystem::path operator/(const std::string& rel) const { return path_ / rel; }

private:
    std::filesystem::path path_;
};

}  // namespace tav::test
