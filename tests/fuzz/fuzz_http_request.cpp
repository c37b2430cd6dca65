// Raw bytes through the request parser and into HttpRequest, the way the
// server turns a connection's bytes into what a page sees.
#include <cstdint>
#include <string>
#include <string_view>

#include "server/http_parse.h"

namespace {

// Small, so the fuzzer reaches the over-the-limit answer too.
constexpr std::uint64_t kBodyLimit = 4096;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tav::HttpRequest req;
    std::string_view in(reinterpret_cast<const char*>(data), size);
    int status = tav::parse_request_bytes(in, kBodyLimit, req);
    if (status != 0 && status != 200 && status != 400 && status != 405 && status != 413) __builtin_trap();
    if (status != 200) return 0;

    // What passes has one framing, one host (or none under HTTP/1.0) and a
    // method the site answers.
    if (req.method != "GET" && req.method != "HEAD" && req.method != "POST") __builtin_trap();
    if (req.body) {
        if (req.body->size() > kBodyLimit) __builtin_trap();
        // Read it back in odd pieces, as the form and upload readers do.
        std::string copy;
        char piece[7];
        for (std::uint64_t off = 0;;) {
            std::size_t n = req.body->read_at(off, piece, sizeof piece);
            if (n == 0) break;
            copy.append(piece, n);
            off += n;
        }
        if (copy.size() != req.body->size()) __builtin_trap();
    }
    (void)req.header("cookie");
    (void)req.header("content-type");
    tav::Handler handler = [](const tav::HttpRequest&) { return tav::HttpResponse{}; };
    handler(req);
    return 0;
}
