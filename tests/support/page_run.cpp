#include "tests/support/page_run.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

#include "frame/context.h"
#include "frame/host.h"

namespace fs = std::filesystem;

namespace tav::test {

namespace {

class LambdaPage final : public Page {
public:
    LambdaPage(const std::string& cls, const std::function<void(Page&)>& body) : Page(cls), body_(body) {}
    void I_init() override { body_(*this); }

private:
    const std::function<void(Page&)>& body_;
};

}  // namespace

PageRun::PageRun() {
    char tmpl[] = "/tmp/tavelor-run-XXXXXX";
    if (!::mkdtemp(tmpl)) throw std::runtime_error("mkdtemp failed");
    dir_ = tmpl;
    root_ = fs::weakly_canonical(dir_ + "/site").string();
    log_ = dir_ + "/app.log";
    for (const char* sub : {"Datas", "Email", "user"}) fs::create_directories(root_ + "/" + sub);
}

PageRun::~PageRun() {
    std::error_code ec;
    fs::remove_all(dir_, ec);
}

std::string PageRun::run(const HttpRequest& req, const std::function<void(Page&)>& body, const std::string& cls) {
    LambdaPage page(cls, body);
    RequestObject request(req);
    ResponseObject response;
    SessionObject session(std::make_shared<SessionData>());
    ServerObject server(root_);
    ApplicationObject application;
    AppLog log(log_);
    Context ctx;
    ctx.request = &request;
    ctx.response = &response;
    ctx.session = &session;
    ctx.server = &server;
    ctx.application = &application;
    ctx.log = &log;
    ContextScope scope(ctx);
    page.routine("I_init", [&] { page.I_init(); });
    return response.body();
}

std::string PageRun::log_text() const {
    std::ifstream in(log_, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

HttpRequest multipart_request(std::string body, bool spool_to_file) {
    HttpRequest req;
    req.method = "POST";
    req.target = "/x.asp";
    req.remote_addr = "127.0.0.1";
    req.headers.emplace_back("Content-Type", "multipart/form-data; boundary=ignored");
    if (spool_to_file) {
        char tmpl[] = "/tmp/tavelor-body-XXXXXX";
        int fd = ::mkstemp(tmpl);
        if (fd < 0) throw std::runtime_error("mkstemp failed");
        for (std::size_t done = 0; done < body.size();) {
            ssize_t w = ::write(fd, body.data() + done, body.size() - done);
            if (w <= 0) throw std::runtime_error("write failed");
            done += static_cast<std::size_t>(w);
        }
        std::uint64_t size = body.size();
        req.body = std::make_shared<FileBody>(fd, tmpl, size);
    } else {
        req.body = std::make_shared<MemoryBody>(std::move(body));
    }
    return req;
}

HttpRequest get_request(const std::string& target) {
    HttpRequest req;
    req.method = "GET";
    req.target = target;
    req.remote_addr = "127.0.0.1";
    return req;
}

}  // namespace tav::test
