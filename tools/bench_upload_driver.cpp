// In-process upload benchmark: hands a spooled multipart body file to the
// site's dispatcher as the HTTP layer would (a FileBody) and reports time and
// peak resident memory. Used by bench_upload.sh --inproc.
//   bench_upload_driver SITE_DIR BODY_FILE BOUNDARY
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "server/http_types.h"
#include "server/instance.h"
#include "server/site.h"

namespace {
long status_kb(const char* key) {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line))
        if (line.rfind(key, 0) == 0) return std::stol(line.substr(line.find(':') + 1));
    return -1;
}
}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: bench_upload_driver SITE_DIR BODY_FILE BOUNDARY\n";
        return 2;
    }
    std::string site_dir = argv[1], body_file = argv[2], boundary = argv[3];
    tav::Site site(site_dir, tav::default_log_path(site_dir));
    // The dispatcher unlinks a spooled body when done: give it a link of its own.
    std::string spool = body_file + ".spool";
    if (::link(body_file.c_str(), spool.c_str()) != 0) { std::perror("link"); return 1; }
    int fd = ::open(spool.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat st;
    ::fstat(fd, &st);

    tav::HttpRequest req;
    req.method = "POST";
    req.target = "/upload_img.asp";
    req.remote_addr = "127.0.0.1";
    req.headers.emplace_back("Host", "127.0.0.1");
    req.headers.emplace_back("Content-Type", "multipart/form-data; boundary=" + boundary);
    req.headers.emplace_back("Content-Length", std::to_string(st.st_size));
    req.body = std::make_shared<tav::FileBody>(fd, spool, static_cast<std::uint64_t>(st.st_size));

    long before = status_kb("VmHWM");
    auto t0 = std::chrono::steady_clock::now();
    tav::HttpResponse r = site.handle(req);
    double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    long after = status_kb("VmHWM");
    std::cout << "status " << r.status << "\n"
              << "answer " << r.body << "\n"
              << "seconds " << secs << "\n"
              << "vmhwm_before_kb " << before << "\n"
              << "vmhwm_kb " << after << "\n";
    return 0;
}
