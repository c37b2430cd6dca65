#include "server/cross_site.h"

#include "frame/paths.h"

namespace tav {

namespace {

// Fetch destinations that load a resource into another document.
bool embedded_load(const std::string& dest) {
    static const char* const kinds[] = {"image",        "script",        "style",     "font",     "audio",
                                        "video",        "track",         "object",    "embed",    "worker",
                                        "sharedworker", "serviceworker", "manifest",  "xslt",     "audioworklet",
                                        "paintworklet", "report"};
    for (const char* k : kinds)
        if (iequals(dest, k)) return true;
    return false;
}

// The host[:port] of an Origin value, "" when it is not one (e.g. "null").
std::string origin_host(const std::string& origin) {
    std::size_t p = origin.find("://");
    if (p == std::string::npos) return {};
    std::string rest = origin.substr(p + 3);
    std::size_t slash = rest.find('/');
    if (slash != std::string::npos) rest.erase(slash);
    std::string scheme = lower(origin.substr(0, p));
    // The default port may be written or left out.
    if ((scheme == "http" && rest.ends_with(":80")) || (scheme == "https" && rest.ends_with(":443")))
        rest.erase(rest.rfind(':'));
    return lower(rest);
}

std::string host_of(const HttpRequest& req) {
    std::string h = lower(req.header("Host"));
    if (h.ends_with(":80")) h.erase(h.size() - 3);
    return h;
}

}  // namespace

std::string cross_site_refusal(const HttpRequest& req) {
    const std::string dest = req.header("Sec-Fetch-Dest");
    if (embedded_load(dest)) return "loaded as " + lower(dest);
    if (req.method == "GET" || req.method == "HEAD") return {};
    const std::string site = lower(req.header("Sec-Fetch-Site"));
    if (!site.empty() && site != "same-origin" && site != "none") return req.method + " from " + site;
    std::string origin = req.header("Origin");
    if (!origin.empty() && origin_host(origin) != host_of(req))
        return req.method + " from origin " + origin.substr(0, 200);
    return {};
}

bool runs_as_stranger(const HttpRequest& req) {
    const std::string site = lower(req.header("Sec-Fetch-Site"));
    return site == "cross-site" || site == "same-site";
}

}  // namespace tav
