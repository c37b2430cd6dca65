// File, folder, process and port helpers the tests share: whole files, a
// temporary folder that goes with its owner, a free loopback port, a child
// process.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tav::test {

// The whole file as bytes, "" when it cannot be read.
inline std::string slurp(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
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

// A port on 127.0.0.1 that nothing listens on now.
inline unsigned short free_port() {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    socklen_t len = sizeof a;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
    ::close(fd);
    return ntohs(a.sin_port);
}

// Starts args[0] with args; the caller kills and reaps it.
inline pid_t spawn(std::vector<std::string> args) {
    pid_t pid = ::fork();
    if (pid == 0) {
        std::vector<char*> argv;
        for (auto& a : args) argv.push_back(a.data());
        argv.push_back(nullptr);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    return pid;
}

struct Outcome {
    int status = -1;  // the exit status, -1 when it did not exit
    std::string out;  // stdout and stderr
};

// Runs a shell command line.
inline Outcome run_command(const std::string& cmd) {
    Outcome r;
    FILE* p = ::popen((cmd + " 2>&1").c_str(), "r");
    if (!p) return r;
    std::array<char, 4096> buf;
    while (std::size_t n = std::fread(buf.data(), 1, buf.size(), p)) r.out.append(buf.data(), n);
    int rc = ::pclose(p);
    r.status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    return r;
}

}  // namespace tav::test
