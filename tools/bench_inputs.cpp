// In-process timing of the two readers of large client input: the markup
// allowlist on an editor-style mail body and on a hostile one, and the multipart parser on a body
// of many small fields plus one file. Prints ms per run and ms per MB for
// each size; a linear reader keeps ms/MB about level as the size grows.
// Built as the optional target tavelor_bench_inputs; tools/bench.sh runs it.
//   tavelor_bench_inputs [KB ...]     (default: 10 1024 10240)
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <vector>
#include <time.h>

#include "frame/encoding.h"
#include "frame/html.h"
#include "frame/page.h"
#include "frame/request_scope.h"
#include "frame/upload.h"
#include "server/app_log.h"

using namespace tav;

namespace {

class BenchPage final : public Page {
public:
    BenchPage() : Page("benchinputs") {}
    void I_init() override {}
};

// Paragraphs, fonts, links, pictures, a table, style, entities, a script and
// a comment to drop, as the editor and pasted mail produce them.
std::string markup_body(std::size_t bytes) {
    const std::string unit = utf8_to_gb(
        "<p align=center><font color=#ff0000 size=3 face=宋体>会议通知</font></p>\r\n"
        "<p>各位同事：&nbsp;&nbsp;本周五下午 <b>3:00</b> 在<a href=\"http://www.example.com/room?id=3&amp;floor=2\" "
        "target=_blank>三楼会议室</a>开会，请准时参加 &#8212; 谢谢！</p>\r\n"
        "<table border=1 cellpadding=2 width=\"90%\"><tr><td bgcolor=#eeeeee nowrap>议题</td>"
        "<td><span style=\"color:blue;font-weight:bold\">预算 &amp; 计划</span></td></tr></table>\r\n"
        "<img src=\"http://www.example.com/img/logo.gif\" width=120 height=40 alt='logo' onclick=\"x()\">\r\n"
        "<div align=left>第二段 <i>说明</i> <u>重点</u> 3 &lt; 5 &gt; 2<br>\r\n"
        "<script>alert(1)</script><!-- 注释 --><P>未闭合的段落 <font size=2>小字\r\n");
    std::string s;
    s.reserve(bytes + unit.size());
    while (s.size() < bytes) s += unit;
    return s;
}

// What a hostile sender writes: elements opened and never closed under end
// tags of others, then tags that never end.
std::string hostile_body(std::size_t bytes) {
    std::string s;
    s.reserve(bytes + 16);
    while (s.size() < bytes / 2) s += "<b>x</i><font color=red>";
    while (s.size() < bytes) s += "<x a=\"1\" ";
    return s;
}

const std::string kBoundary = "------BenchBoundary7d1";

// Small text fields with distinct names, then one file taking a quarter.
std::string multipart_body(std::size_t bytes, std::size_t& fields) {
    std::string s;
    s.reserve(bytes + 256);
    const std::string file(bytes / 4, 'F');
    const std::string value = utf8_to_gb("值 value 一二三");
    fields = 0;
    while (s.size() + file.size() < bytes) {
        s += kBoundary + "\r\nContent-Disposition: form-data; name=\"field" + std::to_string(fields++) + "\"\r\n\r\n" +
             value + "\r\n";
    }
    s += kBoundary + "\r\nContent-Disposition: form-data; name=\"file1\"; filename=\"c:\\a\\b.bin\"\r\n"
                     "Content-Type: application/octet-stream\r\n\r\n" + file + "\r\n";
    return s + kBoundary + "--\r\n";
}

// This thread's processor time in ms: other load on the machine stretches
// wall time, most of all for the long runs, and would bend the figures.
double cpu_ms() {
    timespec t;
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

// The best of as many runs as fit in about half a second (at least three).
template <class F>
double best_ms(F&& run) {
    double best = std::numeric_limits<double>::max(), spent = 0;
    for (int n = 0; n < 3 || (spent < 500 && n < 50); ++n) {
        double t0 = cpu_ms();
        run();
        double ms = cpu_ms() - t0;
        best = std::min(best, ms);
        spent += ms;
    }
    return best;
}

void print(const char* what, std::size_t bytes, double ms, const std::string& note) {
    double mb = static_cast<double>(bytes) / (1 << 20);
    std::printf("%-26s %10.0f KB %12.2f ms %10.2f ms/MB  %s\n", what, bytes / 1024.0, ms, ms / mb, note.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::size_t> sizes;
    for (int i = 1; i < argc; ++i) sizes.push_back(std::strtoull(argv[i], nullptr, 10) * 1024);
    if (sizes.empty()) sizes = {10 << 10, 1 << 20, 10 << 20};
    FileLog log("/dev/null");
    UploadGroup::limits.parts = std::numeric_limits<std::size_t>::max();
    UploadGroup::limits.request_bytes = std::numeric_limits<std::int64_t>::max();

    for (std::size_t size : sizes) {
        const std::string body = markup_body(size);
        std::size_t out = 0;
        double ms = best_ms([&] { out = allow_markup(body, "office.example").size(); });
        print("allow_markup", body.size(), ms, std::to_string(out) + " bytes out");
    }
    for (std::size_t size : sizes) {
        const std::string body = hostile_body(size);
        double ms = best_ms([&] { allow_markup(body, "office.example"); });
        print("allow_markup (hostile)", body.size(), ms, "unclosed and unended tags");
    }
    for (std::size_t size : sizes) {
        std::size_t fields = 0;
        auto body = std::make_shared<const std::string>(multipart_body(size, fields));
        std::size_t parsed = 0, files = 0;
        double ms = best_ms([&] {
            RequestData req;
            req.method = "POST";
            req.path = "/bench.asp";
            req.body = std::make_shared<MemoryBody>(*body);
            RequestScope scope(std::move(req), std::make_shared<SessionData>(), "/tmp", log);
            BenchPage page;
            UploadGroup up{page};
            up.upload_initialize();
            parsed = up.fields().size();
            files = up.files().size();
        });
        if (parsed != fields || files != 1) {
            std::fprintf(stderr, "multipart: parsed %zu of %zu fields, %zu files\n", parsed, fields, files);
            return 1;
        }
        print("multipart parse", body->size(), ms, std::to_string(fields) + " fields + 1 file");
    }
    return 0;
}
