// Which requests another site may make the browser send to a page. A page
// is opened as a document or in a frame, or read by the site's own
// scripts; a change comes only from the site's own pages.
#pragma once

#include <string>

#include "server/http_types.h"

namespace tav {

// Why the request may not reach a page at all, "" when it may: another
// site's <img>, <script> or <object> pointing at a page (an old way to send
// a GET that deletes), or a form posted from another origin.
std::string cross_site_refusal(const HttpRequest& req);

// A GET sent by another site's link or form: the browser leaves the session
// cookie out (SameSite=Strict), and so do we for browsers that would not,
// so it runs as for an anonymous visitor.
bool runs_as_stranger(const HttpRequest& req);

}  // namespace tav
