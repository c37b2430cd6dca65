// Runs a piece of page code inside a request of its own, without the page
// table or a database: a temporary site folder, the host objects bound as
// the dispatcher binds them, and the answer text and log handed back.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "frame/page.h"
#include "server/http_types.h"

namespace tav::test {

class PageRun {
public:
    PageRun();  // a fresh site folder with Datas/, Email/, user/
    ~PageRun();
    PageRun(const PageRun&) = delete;
    PageRun& operator=(const PageRun&) = delete;

    // Runs body as the page's I_init under the page's handler, for a page of
    // class cls; returns the answer text (UTF-8).
    std::string run(const HttpRequest& req, const std::function<void(Page&)>& body,
                    const std::string& cls = "pagerun");

    const std::string& root() const { return root_; }
    std::string log_text() const;

private:
    std::string dir_;
    std::string root_;
    std::string log_;
};

// A POST carrying body as multipart/form-data; null body when empty and get.
HttpRequest multipart_request(std::string body, bool spool_to_file = false);
HttpRequest get_request(const std::string& target = "/x.asp");

}  // namespace tav::test
