// The HTTP server: keep-alive connections on an I/O thread, a pool of
// workers for the page code.
#pragma once

#include <functional>
#include <memory>

#include "server/http_types.h"

namespace tav {

class HttpServer {
public:
    HttpServer(ServerOptions opts, Handler handler, QuickHandler quick = nullptr);
    ~HttpServer();
    void start();
    unsigned short port() const;
    void stop();
    // Serves until SIGINT or SIGTERM; on_hangup runs on each SIGHUP.
    void run_until_signal(std::function<void()> on_hangup = {});

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace tav
