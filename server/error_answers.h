// The answers the server gives without a page: a malformed path, a file
// that is not there (or may not be read), a session with too many requests
// at once, a request another site made the browser send.
#pragma once

#include "server/http_types.h"

namespace tav {

HttpResponse bad_request();         // 400: control bytes in the path
HttpResponse not_found();           // 404: also what a session may not read
HttpResponse session_busy();        // 503: the session's requests over their cap
HttpResponse cross_site_refused();  // 403: the page that says why, in the pages' encoding

}  // namespace tav
