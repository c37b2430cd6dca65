// Between HTTP and the session store: which session a request names by its
// cookie, and the cookie that tells the browser what the page did with it.
#pragma once

#include <memory>
#include <string>

#include "frame/host.h"
#include "server/http_types.h"
#include "server/sessions.h"

namespace tav {

inline constexpr const char* kSessionCookie = "TAVSESSION";

// The session id the request's cookie carries, "" when none.
std::string sent_session_id(const HttpRequest& req);

// The live session the request names, not held; null when there is none.
std::shared_ptr<SessionData> session_of(SessionStore& store, const HttpRequest& req);

// A value of the session (key in lower case); empty when unset.
Value session_value(const SessionData& data, const std::string& key);

// After the page ran: stores a session the page made, drops one it
// abandoned, renews one it asked to renew. Returns the Set-Cookie value for
// the answer, "" for none. A new session the store refuses (the address's
// share is used up) is logged with path and runs on without a cookie.
// stranger: the request ran without its session; the browser's cookie stays.
std::string settle_session(SessionStore& store, SessionStore::Lease& lease, const SessionObject& session,
                           const HttpRequest& req, bool stranger, AppLog& log, const std::string& path);

}  // namespace tav
