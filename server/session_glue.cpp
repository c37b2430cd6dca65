#include "server/session_glue.h"

namespace tav {

namespace {

std::string cookie_value(const std::string& cookies, const std::string& name) {
    std::size_t i = 0;
    while (i < cookies.size()) {
        std::size_t j = cookies.find(';', i);
        if (j == std::string::npos) j = cookies.size();
        std::string part = cookies.substr(i, j - i);
        std::size_t b = part.find_first_not_of(' ');
        if (b != std::string::npos) part.erase(0, b);
        std::size_t eq = part.find('=');
        if (eq != std::string::npos && part.substr(0, eq) == name) return part.substr(eq + 1);
        i = j + 1;
    }
    return {};
}

}  // namespace

std::string sent_session_id(const HttpRequest& req) { return cookie_value(req.header("Cookie"), kSessionCookie); }

std::shared_ptr<SessionData> session_of(SessionStore& store, const HttpRequest& req) {
    return store.peek(sent_session_id(req));
}

Value session_value(const SessionData& data, const std::string& key) {
    std::lock_guard lock(data.mu);
    auto it = data.values.find(key);
    return it == data.values.end() ? Value() : it->second;
}

std::string settle_session(SessionStore& store, SessionStore::Lease& lease, const SessionObject& session,
                           const HttpRequest& req, bool stranger, AppLog& log, const std::string& path) {
    if (stranger) return {};
    // Strict: no other site's link, form or frame brings the session along.
    // Secure only where the browser reached us over TLS, or a plain-HTTP
    // office could never log in.
    const std::string attrs = std::string("; Path=/; HttpOnly; SameSite=Strict") + (req.secure ? "; Secure" : "");
    if (session.abandoned()) {
        if (lease) store.remove(lease.id());
        return sent_session_id(req).empty() ? std::string() : std::string(kSessionCookie) + "=; Max-Age=0" + attrs;
    }
    if (session.created()) {
        std::string id = store.add(session.data(), req.remote_addr);
        if (!id.empty()) return std::string(kSessionCookie) + "=" + id + attrs;
        log.write(2, "Tavelor.Refused session " + path + " address " + req.remote_addr +
                         " account - (new sessions from this address over the cap, or the store is full of "
                         "signed-in ones)");
        return {};
    }
    if (lease && session.renew_requested()) {
        std::string id = store.renew(lease);
        // A store that could not renew it ended the session.
        return std::string(kSessionCookie) + "=" + (id.empty() ? std::string("; Max-Age=0") : id) + attrs;
    }
    return {};
}

}  // namespace tav
