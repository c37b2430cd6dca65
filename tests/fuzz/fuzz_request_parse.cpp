// Our own request decoding on arbitrary bytes: query strings, urlencoded
// forms, cookies, percent and %u escapes, GB18030, and the request object
// built over a synthesised request (target, headers, body from the input).
#include <cstdint>
#include <filesystem>
#include <unistd.h>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "frame/encoding.h"
#include "frame/host.h"
#include "server/http_types.h"
#include "server/instance.h"
#include "server/site.h"

using namespace tav;

namespace {

// Splits off the text up to the next '\n'.
std::string_view take_line(std::string_view& rest) {
    std::size_t nl = rest.find('\n');
    std::string_view line = rest.substr(0, nl);
    rest = nl == std::string_view::npos ? std::string_view() : rest.substr(nl + 1);
    return line;
}

// A site instance made once; requests run through the real dispatcher.
tav::Site& instance() {
    static tav::Site* site = [] {
        char tmpl[] = "/tmp/tavelor-fuzz-site-XXXXXX";
        if (!::mkdtemp(tmpl)) std::abort();
        std::string dir = std::string(tmpl) + "/site";
        tav::init_site(dir, TAVELOR_TEMPLATE_DIR);
        return new tav::Site(dir, std::string(tmpl) + "/app.log");
    }();
    return *site;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view in(reinterpret_cast<const char*>(data), size);

    // Decoders on the raw bytes.
    std::string utf8 = gb_to_utf8(in);
    if (!is_valid_utf8(utf8)) std::abort();
    std::string back = utf8_to_gb(utf8);
    if (gb_to_utf8(back) != utf8) std::abort();  // valid text survives the round trip
    std::string p1 = percent_decode(in, true), p2 = percent_decode(in, false);
    if (p1.size() > in.size() * 2 + 4 || p2.size() > in.size() * 2 + 4) std::abort();
    (void)percent_escape(in, "", true);

    ParamList list;
    list.parse(in);
    for (const auto& [name, value] : list.items()) (void)list.get(name);

    // A request: first line the target, then header lines "Name: value" up
    // to an empty line, the rest the body.
    std::string_view rest = in;
    HttpRequest req;
    req.method = "POST";
    req.target = std::string(take_line(rest));
    while (!rest.empty()) {
        std::string_view line = take_line(rest);
        if (line.empty()) break;
        std::size_t colon = line.find(':');
        std::string_view name = line.substr(0, colon);
        std::string_view value = colon == std::string_view::npos ? std::string_view() : line.substr(colon + 1);
        req.headers.emplace_back(std::string(name), std::string(value));
    }
    if (!req.headers.empty() && !req.headers[0].second.empty() && req.headers[0].second[0] == 'G')
        req.method = "GET";
    if (!rest.empty()) req.body = std::make_shared<MemoryBody>(std::string(rest));

    RequestObject request(request_data(req, req.target.substr(0, req.target.find('?'))));
    for (const auto& [name, value] : request.form_fields().items()) (void)request.Form(name);
    (void)request.querystring("id");
    (void)request.Form("name");
    for (const char* v : {"remote_addr", "http_cookie", "content_length", "query_string", "http_user_agent",
                          "server_name", "script_name", "path_info", "url", "http_referer"})
        (void)request.ServerVariables(v);
    if (request.TotalBytes() != static_cast<std::int64_t>(rest.size())) std::abort();
    (void)request.BinaryRead(request.TotalBytes());
    (void)req.header("Cookie");

    // The same request through the dispatcher, as a GET so that fuzzing does
    // not wear the instance's rows away.
    req.method = "GET";
    req.body.reset();
    tav::HttpResponse r = instance().handle(req);
    // 304 for a matching If-None-Match, 400 for control bytes in the path.
    if (r.status != 200 && r.status != 302 && r.status != 304 && r.status != 400 && r.status != 404) std::abort();
    return 0;
}
