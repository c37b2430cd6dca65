// The only translation unit that sees Beast: it compiles slowly, so pages
// get plain HttpRequest/HttpResponse values and nothing else.
#include "server/http_server.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <limits>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <unordered_map>

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include "server/http_parse.h"
#include "server/too_large.h"

namespace tav {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;
using error_code = beast::error_code;

namespace {

// Headers of any size a browser sends fit; longer ones are an attack.
constexpr std::uint32_t kHeaderLimit = 64 * 1024;
// How long a client gets to take an error answer before we hang up.
constexpr std::chrono::seconds kErrorWriteTimeout{5};
// After an answer that ends the connection: how long in all, and how much, we
// read and drop before hanging up.
constexpr std::chrono::seconds kDrainTimeout{2};
constexpr std::uint64_t kDrainLimit = 4 << 20;

HttpRequest make_request(const http::request_header<>& h, std::string remote,
                         std::shared_ptr<const RequestBody> body) {
    HttpRequest r;
    r.method = std::string(h.method_string());
    r.target = std::string(h.target());
    r.headers.reserve(std::distance(h.begin(), h.end()));
    for (const auto& f : h) r.headers.emplace_back(std::string(f.name_string()), std::string(f.value()));
    r.remote_addr = std::move(remote);
    r.body = std::move(body);
    return r;
}

// The answer for a parse error, or 0 when the error is the peer going away.
int status_for(const error_code& ec) {
    if (ec.category() != http::make_error_code(http::error::need_more).category()) return 0;
    if (ec == http::error::body_limit) return 413;
    if (ec == http::error::end_of_stream || ec == http::error::partial_message ||
        ec == http::error::need_more)
        return 0;
    return 400;
}

// What a received header is answered with before any body is read: 0 to go
// on, else the status (the connection then closes).
int check_header(const http::request_header<>& h) {
    // Only a body framed by chunks alone: anything else there (gzip, a
    // repeated or damaged field) would be read differently by a proxy in
    // front of us.
    auto te = h.equal_range(http::field::transfer_encoding);
    if (te.first != te.second) {
        if (std::next(te.first) != te.second) return 400;
        beast::string_view v = te.first->value();
        while (!v.empty() && (v.front() == ' ' || v.front() == '\t')) v.remove_prefix(1);
        while (!v.empty() && (v.back() == ' ' || v.back() == '\t')) v.remove_suffix(1);
        if (!beast::iequals(v, "chunked")) return 400;
    }
    // A request names its host once; HTTP/1.0 may leave it out.
    auto host = h.equal_range(http::field::host);
    if (host.first == host.second ? h.version() >= 11 : std::next(host.first) != host.second) return 400;
    switch (h.method()) {
        case http::verb::get:
        case http::verb::head:
        case http::verb::post:
            return 0;
        default:
            return 405;
    }
}

// No page of ours is framed by another site's page. An answer that set its
// own policy (uploads: sandboxed as well) keeps it.
void set_guard_headers(http::fields& f) {
    f.set("X-Content-Type-Options", "nosniff");
    f.set("X-Frame-Options", "SAMEORIGIN");
    if (f.find("Content-Security-Policy") == f.end()) f.set("Content-Security-Policy", "frame-ancestors 'self'");
}

const char* reason(int status) {
    switch (status) {
        case 400: return "Bad Request";
        case 405: return "Method Not Allowed";
        case 408: return "Request Timeout";
        case 413: return "Payload Too Large";
        case 500: return "Internal Server Error";
        default: return "Error";
    }
}

// A file, or a part of it, sent in pieces of a fixed size: a large media
// file never stands in memory, and a range starts where it should.
struct FileSliceBody {
    struct value_type {
        beast::file file;
        std::uint64_t offset = 0;
        std::uint64_t length = 0;
    };

    static std::uint64_t size(const value_type& v) { return v.length; }

    class writer {
    public:
        using const_buffers_type = net::const_buffer;

        template <bool isRequest, class Fields>
        writer(http::header<isRequest, Fields>&, value_type& b) : body_(b) {}

        void init(error_code& ec) {
            remain_ = body_.length;
            body_.file.seek(body_.offset, ec);
        }

        boost::optional<std::pair<const_buffers_type, bool>> get(error_code& ec) {
            std::size_t amount = static_cast<std::size_t>(std::min<std::uint64_t>(remain_, sizeof buf_));
            if (amount == 0) {
                ec = {};
                return boost::none;
            }
            std::size_t n = body_.file.read(buf_, amount, ec);
            if (ec) return boost::none;
            if (n == 0) {
                // The file shrank under us: the promised length cannot be kept.
                ec = http::error::short_read;
                return boost::none;
            }
            remain_ -= n;
            return {{const_buffers_type{buf_, n}, remain_ > 0}};
        }

    private:
        value_type& body_;
        std::uint64_t remain_ = 0;
        char buf_[64 * 1024];
    };
};

bool has_body(const http::request_header<>& h, bool header_parser_done) {
    return !header_parser_done || h.find(http::field::content_length) != h.end();
}

}  // namespace

int parse_request_bytes(std::string_view bytes, std::uint64_t body_limit, HttpRequest& out) {
    http::request_parser<http::empty_body> hdr;
    hdr.header_limit(kHeaderLimit);
    hdr.body_limit(body_limit);
    error_code ec;
    std::size_t pos = 0;
    while (!hdr.is_header_done()) {
        std::size_t n = hdr.put(net::buffer(bytes.data() + pos, bytes.size() - pos), ec);
        pos += n;
        if (ec == http::error::need_more) return 0;
        if (ec) return status_for(ec) ? status_for(ec) : 400;
        if (n == 0) return 0;
    }
    if (int st = check_header(hdr.get())) return st;
    bool header_only = hdr.is_done();
    http::request_parser<http::string_body> p{std::move(hdr)};
    p.eager(true);
    while (!p.is_done()) {
        std::size_t n = p.put(net::buffer(bytes.data() + pos, bytes.size() - pos), ec);
        pos += n;
        if (ec == http::error::need_more) return 0;
        if (ec) return status_for(ec) ? status_for(ec) : 400;
        if (n == 0) return 0;
    }
    std::shared_ptr<const RequestBody> body;
    if (has_body(p.get().base(), header_only))
        body = std::make_shared<MemoryBody>(std::move(p.get().body()));
    out = make_request(p.get().base(), "127.0.0.1", std::move(body));
    return 200;
}

struct HttpServer::Impl {
    class Session;

    Impl(ServerOptions o, Handler h, QuickHandler q)
        : opts(std::move(o)), handler(std::move(h)), quick(std::move(q)) {}

    ServerOptions opts;
    Handler handler;
    QuickHandler quick;
    std::atomic<unsigned> in_flight{0};
    std::atomic<unsigned> connections{0};

    // Open connections by peer address (not for trusted proxies).
    std::mutex addr_mu;
    std::unordered_map<std::string, unsigned> per_addr;
    // Refused connections are logged at most once a second per kind, with
    // the count since the last line: a flood must not flood the log too.
    std::mutex refuse_mu;
    std::chrono::steady_clock::time_point refuse_logged{};
    unsigned refused_since = 0;

    void log(const std::string& line) const {
        if (opts.log) opts.log(line);
    }
    bool trusted(const std::string& addr) const {
        for (const auto& t : opts.trusted_proxies)
            if (t == addr) return true;
        return false;
    }
    void refused_connection(const std::string& addr, const char* why) {
        std::lock_guard lk(refuse_mu);
        ++refused_since;
        auto now = std::chrono::steady_clock::now();
        if (now - refuse_logged < std::chrono::seconds(1)) return;
        log("Tavelor.Refused connection from " + addr + " account - (" + why + "; " +
            std::to_string(refused_since) + " refused since the last line)");
        refuse_logged = now;
        refused_since = 0;
    }
    // The client and scheme a request is answered for: the peer itself,
    // or what a trusted proxy in front says of its own client.
    void apply_forwarding(HttpRequest& r) const {
        r.secure = false;
        if (!trusted(r.remote_addr)) return;
        std::string xff = r.header("X-Forwarded-For");
        if (!xff.empty()) {
            // The last hop is the one the proxy added; earlier ones are the
            // client's own say.
            std::size_t comma = xff.rfind(',');
            std::string last = xff.substr(comma == std::string::npos ? 0 : comma + 1);
            std::size_t b = last.find_first_not_of(" \t");
            std::size_t e = last.find_last_not_of(" \t");
            error_code ec;
            if (b != std::string::npos) {
                last = last.substr(b, e - b + 1);
                net::ip::make_address(last, ec);
                if (!ec) r.remote_addr = last;
            }
        }
        r.secure = beast::iequals(r.header("X-Forwarded-Proto"), "https");
    }

    std::mutex sessions_mu;
    std::unordered_map<Session*, std::weak_ptr<Session>> sessions;

    // Declared after what the sessions touch, so that the sessions still
    // queued in the context die before it.
    net::io_context ioc;
    std::optional<net::executor_work_guard<net::io_context::executor_type>> work;
    tcp::acceptor acceptor{ioc};
    net::steady_timer accept_pause{ioc};
    std::vector<std::thread> io_threads;
    std::unique_ptr<net::thread_pool> pool;
    unsigned short bound_port = 0;
    bool running = false;

    void do_accept();
    // Hangs up on every connection, then calls done (on some I/O thread).
    void close_all(std::function<void()> done);
};

class HttpServer::Impl::Session : public std::enable_shared_from_this<Session> {
public:
    Session(Impl& srv, tcp::socket&& sock)
        : srv_(srv), stream_(std::move(sock)), deadline_(stream_.get_executor()), hold_(stream_.get_executor()) {
        ++srv_.connections;
        error_code ec;
        // A file answer goes out as header then body in separate writes;
        // with Nagle the body waits for the client's delayed ACK (~40 ms).
        stream_.socket().set_option(tcp::no_delay(true), ec);
        auto ep = stream_.socket().remote_endpoint(ec);
        if (!ec) remote_ = ep.address().to_string();
        counted_ = !srv_.trusted(remote_);
        if (counted_) {
            std::lock_guard lk(srv_.addr_mu);
            ++srv_.per_addr[remote_];
        }
    }

    void start() { read_header(); }

    template <class Done>
    void close(Done done) {
        net::dispatch(stream_.get_executor(), [self = shared_from_this(), done] {
            self->closed_ = true;
            self->deadline_.cancel();
            self->hold_.cancel();
            error_code ec;
            self->stream_.socket().shutdown(tcp::socket::shutdown_both, ec);
            self->stream_.close();
            done();
        });
    }

private:
    HttpRequest request(const http::request_header<>& h, std::shared_ptr<const RequestBody> body) {
        HttpRequest r = make_request(h, remote_, std::move(body));
        srv_.apply_forwarding(r);
        return r;
    }

    // Keep-alive: wait for the next request's first bytes under the idle
    // timeout, then give the whole header one deadline.
    void read_header() {
        if (closed_) return;
        if (requests_ > 0 && buf_.size() == 0) {
            stream_.expires_after(srv_.opts.idle_timeout);
            stream_.async_read_some(buf_.prepare(4096),
                                    [self = shared_from_this()](error_code ec, std::size_t n) {
                                        if (ec) return self->stream_.close();
                                        self->buf_.commit(n);
                                        self->read_header_now();
                                    });
            return;
        }
        read_header_now();
    }

    void read_header_now() {
        stream_.expires_never();
        bare_.reset();
        hdr_.emplace();
        hdr_->header_limit(kHeaderLimit);
        // The bound is checked once the header is in (on_header), so a refusal
        // knows the forwarded client and the page's own limit.
        // Not boost::none: this Beast compares a length with the empty optional
        // and refuses every body.
        hdr_->body_limit(std::numeric_limits<std::uint64_t>::max());
        reading_header_ = true;
        timed_out_ = false;
        deadline_.expires_after(srv_.opts.header_timeout);
        deadline_.async_wait([self = shared_from_this()](error_code ec) {
            if (ec || !self->reading_header_) return;
            // A slow or stalled header: stop reading, answer 408 below.
            self->timed_out_ = true;
            error_code ignored;
            self->stream_.socket().cancel(ignored);
        });
        http::async_read_header(stream_, buf_, *hdr_,
                                [self = shared_from_this()](error_code ec, std::size_t) {
                                    self->on_header(ec);
                                });
    }

    void on_header(error_code ec) {
        reading_header_ = false;
        deadline_.cancel();
        if (closed_) return;
        if (timed_out_) {
            bool partial = buf_.size() > 0 || hdr_->got_some();
            if (partial) return send_error(408);
            return stream_.close();
        }
        if (ec) {
            int st = status_for(ec);
            if (st) return send_error(st);
            return stream_.close();
        }
        ++requests_;
        auto& h = hdr_->get();
        if (int st = check_header(h)) return send_error(st);
        keep_alive_ = h.keep_alive();
        hdr_version_ = h.version();
        head_ = h.method() == http::verb::head;
        body_limit_ = srv_.opts.body_limit;
        bare_.reset();
        if (!hdr_->is_done()) {
            bare_ = request(h, nullptr);  // for the limit and a refusal's log line
        }
        if (bare_ && srv_.opts.body_limit_for) {
            // Refused before a byte of the body is read.
            std::uint64_t own = 0;
            try {
                own = srv_.opts.body_limit_for(*bare_);
            } catch (const std::exception& e) {
                srv_.log(std::string("Tavelor.HttpError body limit for ") + bare_->remote_addr + ": " + e.what());
            }
            if (own && own < body_limit_) body_limit_ = own;
        }
        hdr_->body_limit(body_limit_);  // a chunked body meets it as it comes
        if (auto len = hdr_->content_length(); len && *len > body_limit_) return send_error(413);  // before a byte of it
        if (hdr_->is_done()) {
            std::shared_ptr<const RequestBody> body;
            if (has_body(h, true)) body = std::make_shared<MemoryBody>(std::string());
            return dispatch(request(h, std::move(body)));
        }
        auto expect = h[http::field::expect];
        if (beast::iequals(expect, "100-continue")) {
            static const char kContinue[] = "HTTP/1.1 100 Continue\r\n\r\n";
            stream_.expires_after(srv_.opts.idle_timeout);
            net::async_write(stream_, net::buffer(kContinue, sizeof kContinue - 1),
                             [self = shared_from_this()](error_code ec, std::size_t) {
                                 if (ec) return self->stream_.close();
                                 self->start_body();
                             });
            return;
        }
        start_body();
    }

    void start_body() {
        auto len = hdr_->content_length();
        body_started_ = std::chrono::steady_clock::now();
        body_length_ = len ? *len : 0;
        body_read_ = 0;
        // Chunked bodies have no length: spool them and take small ones back.
        if (len && *len <= srv_.opts.spool_threshold) {
            try {
                mem_.emplace(std::move(*hdr_));
            } catch (const std::exception&) {  // the header parser went into the body
                return send_error(400);
            }
            hdr_.reset();
            return read_body(*mem_);
        }
        // Reads take what the buffer has room for: with the header's few
        // kilobytes a large upload went in pieces that small, a system call
        // and a timer each.
        buf_.reserve(128 * 1024);
        std::string tmpl = srv_.opts.spool_dir + "/tavelor-upload-XXXXXX";
        int fd = ::mkstemp(tmpl.data());
        if (fd < 0) return send_error(500);
        spool_fd_ = fd;
        spool_path_ = tmpl;
        try {
            file_.emplace(std::move(*hdr_));
        } catch (const std::exception&) {
            return send_error(400);
        }
        hdr_.reset();
        int dup = ::dup(fd);
        if (dup < 0) return send_error(500);
        beast::file f;
        f.native_handle(dup);
        error_code ec;
        file_->get().body().reset(std::move(f), ec);
        if (ec) return send_error(500);
        read_body(*file_);
    }

    // The whole body must arrive by a time that grows with its size (for a
    // chunked body, with what came so far): a client trickling bytes just
    // inside the idle timeout cannot hold a connection for ever.
    std::chrono::steady_clock::time_point body_deadline() const {
        auto& o = srv_.opts;
        std::uint64_t bytes = std::max(body_length_, body_read_);
        auto extra = std::chrono::milliseconds(o.body_min_rate ? bytes * 1000 / o.body_min_rate : 0);
        return body_started_ + o.body_time_floor + extra;
    }

    template <class Parser>
    void read_body(Parser& p) {
        // An idle timeout per read: a slow but live upload goes on, up to
        // the body's own deadline. That one runs on our timer, since the
        // stream's own closes the socket and leaves no way to answer.
        auto deadline = body_deadline();
        if (std::chrono::steady_clock::now() >= deadline) {
            drop_spool();
            return send_error(408);
        }
        stream_.expires_after(srv_.opts.idle_timeout);
        reading_body_ = true;
        body_timed_out_ = false;
        deadline_.expires_at(deadline);
        deadline_.async_wait([self = shared_from_this()](error_code ec) {
            if (ec || !self->reading_body_) return;
            self->body_timed_out_ = true;
            error_code ignored;
            self->stream_.socket().cancel(ignored);
        });
        http::async_read_some(stream_, buf_, p,
                              [self = shared_from_this(), &p](error_code ec, std::size_t n) {
                                  self->reading_body_ = false;
                                  self->deadline_.cancel();
                                  if (self->closed_) return;
                                  self->body_read_ += n;
                                  if (self->body_timed_out_) {
                                      self->drop_spool();
                                      return self->send_error(408);
                                  }
                                  if (ec) {
                                      self->drop_spool();
                                      int st = status_for(ec);
                                      if (st) return self->send_error(st);
                                      return self->stream_.close();
                                  }
                                  if (!p.is_done()) return self->read_body(p);
                                  self->body_done();
                              });
    }

    void body_done() {
        stream_.expires_never();
        if (mem_) {
            auto& msg = mem_->get();
            auto req = request(msg.base(), std::make_shared<MemoryBody>(std::move(msg.body())));
            mem_.reset();
            return dispatch(std::move(req));
        }
        auto& msg = file_->get();
        HttpRequest req = request(msg.base(), nullptr);
        file_.reset();  // closes its own descriptor
        struct stat st {};
        if (::fstat(spool_fd_, &st) != 0) {
            drop_spool();
            return send_error(500);
        }
        std::uint64_t size = static_cast<std::uint64_t>(st.st_size);
        if (size <= srv_.opts.spool_threshold) {
            // A small chunked body: back to memory.
            std::string data(size, '\0');
            FileBody tmp(spool_fd_, spool_path_, size);
            spool_fd_ = -1;
            spool_path_.clear();
            data.resize(tmp.read_at(0, data.data(), data.size()));
            req.body = std::make_shared<MemoryBody>(std::move(data));
        } else {
            req.body = std::make_shared<FileBody>(spool_fd_, spool_path_, size);
            spool_fd_ = -1;
            spool_path_.clear();
        }
        dispatch(std::move(req));
    }

    void drop_spool() {
        file_.reset();
        if (spool_fd_ >= 0) ::close(spool_fd_);
        if (!spool_path_.empty()) ::unlink(spool_path_.c_str());
        spool_fd_ = -1;
        spool_path_.clear();
    }

    void dispatch(HttpRequest req) {
        if (srv_.quick) {
            // Two thread hand-offs saved for what needs no worker.
            HttpResponse res;
            bool done = false;
            try {
                done = srv_.quick(req, res);
            } catch (const std::exception& e) {
                // The workers try again and answer with what they find.
                srv_.log("Tavelor.HttpError quick answer for " + req.target + " from " + req.remote_addr + ": " +
                         e.what());
                done = false;
            } catch (...) {
                srv_.log("Tavelor.HttpError quick answer for " + req.target + " from " + req.remote_addr +
                         ": unknown exception");
                done = false;
            }
            if (done) {
                stream_.expires_never();
                return write_response(std::move(res));
            }
        }
        if (srv_.in_flight.fetch_add(1) >= srv_.opts.max_in_flight) {
            srv_.in_flight.fetch_sub(1);
            HttpResponse busy;
            busy.status = 503;
            busy.set_header("Content-Type", "text/plain");
            busy.set_header("Retry-After", "1");
            busy.body = "Service Unavailable";
            srv_.log("Tavelor.Refused 503 from " + req.remote_addr + " account - (" +
                     std::to_string(srv_.opts.max_in_flight) + " requests in flight)");
            return write_response(std::move(busy));
        }
        stream_.expires_never();
        net::post(*srv_.pool, [self = shared_from_this(), req = std::move(req)]() mutable {
            HttpResponse res;
            auto fail = [&](const std::string& why) {
                self->srv_.log("Tavelor.HttpError 500 for " + req.method + " " + req.target + " from " +
                               req.remote_addr + ": " + why);
                res = HttpResponse{};
                res.status = 500;
                res.set_header("Content-Type", "text/plain");
                res.body = "Internal Server Error";
            };
            try {
                res = self->srv_.handler(req);
            } catch (const std::exception& e) {
                fail(e.what());
            } catch (...) {
                fail("unknown exception");
            }
            req.body.reset();  // the spool file goes as soon as the page is done
            self->srv_.in_flight.fetch_sub(1);
            net::post(self->stream_.get_executor(), [self, res = std::move(res)]() mutable {
                if (res.delay.count() <= 0) return self->write_response(std::move(res));
                // Held back on a timer, not in a worker.
                self->hold_.expires_after(res.delay);
                self->hold_.async_wait([self, res = std::move(res)](error_code ec) mutable {
                    if (ec) return;
                    self->write_response(std::move(res));
                });
            });
        });
    }

    template <class Body>
    void fill(http::response<Body>& res, const HttpResponse& r) {
        res.version(hdr_version_);
        res.result(static_cast<unsigned>(r.status));
        for (const auto& [k, v] : r.headers) {
            // Framing is ours.
            if (beast::iequals(k, "Content-Length") || beast::iequals(k, "Transfer-Encoding")) continue;
            if (beast::iequals(k, "Connection")) {
                if (beast::iequals(v, "close")) keep_alive_ = false;
                continue;
            }
            res.insert(k, v);
        }
        set_guard_headers(res.base());
        res.keep_alive(keep_alive_);
    }

    void write_response(HttpResponse r) {
        if (closed_) return;
        bool no_body = r.status < 200 || r.status == 204 || r.status == 304;
        std::uint64_t length = r.body.size();
        std::optional<FileSliceBody::value_type> file;
        if (!r.file.empty() && !no_body) {
            error_code ec;
            file.emplace();
            file->file.open(r.file.c_str(), beast::file_mode::scan, ec);
            std::uint64_t size = ec ? 0 : file->file.size(ec);
            if (ec) {
                file.reset();
                r.file.clear();
                r.status = 404;
                r.body = "Not Found";
                r.set_header("Content-Type", "text/plain");
            } else if (r.file_range) {
                // A part as the range asked, cut to what the file now holds.
                file->offset = std::min(r.file_offset, size);
                file->length = std::min(r.file_size, size - file->offset);
                length = file->length;
            } else {
                file->length = size;
                length = size;
            }
        }
        if (head_ || no_body) {
            auto res = std::make_shared<http::response<http::empty_body>>();
            fill(*res, r);
            if (!no_body) res->content_length(length);
            return send(res);
        }
        if (file) {
            auto res = std::make_shared<http::response<FileSliceBody>>();
            fill(*res, r);
            res->body() = std::move(*file);
            res->prepare_payload();
            return send(res);
        }
        auto res = std::make_shared<http::response<http::string_body>>();
        fill(*res, r);
        res->body() = std::move(r.body);
        res->prepare_payload();
        send(res);
    }

    // Written piecewise with the idle timeout re-armed for each piece: a long
    // download to a slow but live client goes on.
    template <class Msg>
    void send(std::shared_ptr<Msg> res) {
        auto sr = std::make_shared<http::response_serializer<typename Msg::body_type>>(*res);
        write_some(std::move(res), std::move(sr));
    }

    template <class Msg, class Serializer>
    void write_some(std::shared_ptr<Msg> res, std::shared_ptr<Serializer> sr) {
        stream_.expires_after(srv_.opts.idle_timeout);
        http::async_write_some(stream_, *sr, [self = shared_from_this(), res, sr](error_code ec, std::size_t) {
            if (ec || self->closed_) return self->stream_.close();
            if (!sr->is_done()) return self->write_some(res, sr);
            if (!res->keep_alive()) return self->shutdown();
            self->read_header();
        });
    }

    void send_error(int status) {
        keep_alive_ = false;
        if (status == 413 || status == 408 || status == 500) {
            std::string who = bare_ ? bare_->remote_addr : remote_;
            std::string account = "-";
            if (bare_ && srv_.opts.account_of) {
                try {
                    account = srv_.opts.account_of(*bare_);
                } catch (const std::exception&) {
                }
                if (account.empty()) account = "-";
            }
            srv_.log("Tavelor.Refused " + std::to_string(status) + " " + reason(status) + " from " + who +
                     " account " + account +
                     (status == 413 ? " (body over " + std::to_string(body_limit_) + " bytes)" : std::string()));
        }
        auto res = std::make_shared<http::response<http::string_body>>();
        res->version(11);
        res->result(static_cast<unsigned>(status));
        res->set(http::field::content_type, "text/plain");
        set_guard_headers(res->base());
        if (status == 405) res->set(http::field::allow, "GET, HEAD, POST");
        res->body() = reason(status);
        if (status == 413) too_large_for_page(*res);
        res->keep_alive(false);
        res->prepare_payload();
        stream_.expires_after(kErrorWriteTimeout);
        http::async_write(stream_, *res, [self = shared_from_this(), res](error_code ec, std::size_t) {
            if (ec) return self->stream_.close();
            self->shutdown();
        });
    }

    // A form sent to a page gets a page that says why, not a bare status.
    void too_large_for_page(http::response<http::string_body>& res) const {
        beast::string_view target = hdr_ ? hdr_->get().target()
                                    : mem_ ? mem_->get().target()
                                    : file_ ? file_->get().target()
                                            : beast::string_view();
        if (!targets_page(std::string_view(target.data(), target.size()))) return;
        res.set(http::field::content_type, "text/html; charset=gb2312");
        res.body() = too_large_page(body_limit_ ? body_limit_ : srv_.opts.body_limit);
    }

    // Closing with unread request bytes makes the kernel send a reset, which
    // can destroy our answer before the client reads it (a 413 for an upload
    // still arriving): half-close, then read and drop until the client hangs up.
    void shutdown() {
        error_code ec;
        stream_.socket().shutdown(tcp::socket::shutdown_send, ec);
        stream_.expires_after(kDrainTimeout);  // one deadline for the whole drain
        drain();
    }

    void drain() {
        stream_.async_read_some(net::buffer(drain_buf_), [self = shared_from_this()](error_code ec, std::size_t n) {
            self->drained_ += n;
            if (ec || self->closed_ || self->drained_ > kDrainLimit) return self->stream_.close();
            self->drain();
        });
    }

public:
    ~Session() {
        --srv_.connections;
        if (counted_) {
            std::lock_guard lk(srv_.addr_mu);
            auto it = srv_.per_addr.find(remote_);
            if (it != srv_.per_addr.end() && --it->second == 0) srv_.per_addr.erase(it);
        }
        drop_spool();
        std::lock_guard lk(srv_.sessions_mu);
        srv_.sessions.erase(this);
    }

private:
    Impl& srv_;
    beast::tcp_stream stream_;
    net::steady_timer deadline_;
    net::steady_timer hold_;  // holds back an answer the handler asked to delay
    beast::flat_buffer buf_;
    std::string remote_;
    bool counted_ = false;
    std::optional<HttpRequest> bare_;      // the header of a request with a body
    std::uint64_t body_limit_ = 0;         // this request's
    std::optional<http::request_parser<http::empty_body>> hdr_;
    std::optional<http::request_parser<http::string_body>> mem_;
    std::optional<http::request_parser<http::file_body>> file_;
    char drain_buf_[4096];
    std::uint64_t drained_ = 0;
    std::chrono::steady_clock::time_point body_started_;
    std::uint64_t body_length_ = 0;
    std::uint64_t body_read_ = 0;
    int spool_fd_ = -1;
    std::string spool_path_;
    unsigned requests_ = 0;
    unsigned hdr_version_ = 11;
    bool keep_alive_ = true;
    bool head_ = false;
    bool reading_header_ = false;
    bool reading_body_ = false;
    bool body_timed_out_ = false;
    bool timed_out_ = false;
    bool closed_ = false;
};

void HttpServer::Impl::do_accept() {
    acceptor.async_accept(net::make_strand(ioc), [this](error_code ec, tcp::socket sock) {
        if (ec == net::error::operation_aborted || !acceptor.is_open()) return;
        if (ec) {
            // Out of descriptors or memory: pause instead of spinning on
            // the same failure; connections that end meanwhile free some.
            accept_pause.expires_after(std::chrono::milliseconds(100));
            accept_pause.async_wait([this](error_code e) {
                if (!e && acceptor.is_open()) do_accept();
            });
            return;
        }
        error_code aec;
        auto peer = sock.remote_endpoint(aec);
        std::string addr = aec ? std::string() : peer.address().to_string();
        bool over_addr = false;
        if (!trusted(addr)) {
            std::lock_guard lk(addr_mu);
            auto it = per_addr.find(addr);
            over_addr = it != per_addr.end() && it->second >= opts.max_connections_per_addr;
        }
        if (connections.load() >= opts.max_connections || over_addr) {
            error_code ignored;
            sock.close(ignored);  // over a cap: hang up at once
            refused_connection(addr, over_addr ? "too many open connections from this address"
                                               : "too many open connections");
        } else {
            auto s = std::make_shared<Session>(*this, std::move(sock));
            {
                std::lock_guard lk(sessions_mu);
                sessions.emplace(s.get(), s);
            }
            s->start();
        }
        do_accept();
    });
}

void HttpServer::Impl::close_all(std::function<void()> done) {
    std::vector<std::shared_ptr<Session>> live;
    {
        std::lock_guard lk(sessions_mu);
        for (auto& [p, w] : sessions)
            if (auto s = w.lock()) live.push_back(std::move(s));
    }
    auto left = std::make_shared<std::atomic<std::size_t>>(live.size() + 1);
    auto one_done = [left, done] {
        if (--*left == 0) done();
    };
    for (auto& s : live) s->close(one_done);
    one_done();
}

HttpServer::HttpServer(ServerOptions opts, Handler handler, QuickHandler quick)
    : impl_(std::make_unique<Impl>(std::move(opts), std::move(handler), std::move(quick))) {}

HttpServer::~HttpServer() { stop(); }

void HttpServer::start() {
    auto& m = *impl_;
    if (m.running) return;
    tcp::endpoint ep{net::ip::make_address(m.opts.bind), m.opts.port};
    m.acceptor.open(ep.protocol());
    m.acceptor.set_option(net::socket_base::reuse_address(true));
    m.acceptor.bind(ep);  // throws on a busy port
    m.acceptor.listen(net::socket_base::max_listen_connections);
    m.bound_port = m.acceptor.local_endpoint().port();

    unsigned workers = m.opts.workers;
    // Pages mostly wait (the database, the disk, a session's turn), so
    // there are many more workers than cores: a few slow pages must not
    // leave a login waiting for a free one.
    if (workers == 0) workers = std::max(36u, 8 * std::thread::hardware_concurrency());
    m.pool = std::make_unique<net::thread_pool>(workers);
    m.work.emplace(m.ioc.get_executor());
    m.do_accept();
    unsigned io = std::thread::hardware_concurrency() >= 4 ? 2 : 1;
    for (unsigned i = 0; i < io; ++i)
        m.io_threads.emplace_back([&m] {
            // Whatever escapes a connection's handler must not take the
            // server down: drop it and go on serving.
            for (;;) {
                try {
                    m.ioc.run();
                    return;
                } catch (const std::exception& e) {
                    m.log(std::string("Tavelor.HttpError on the I/O thread: ") + e.what());
                } catch (...) {
                    m.log("Tavelor.HttpError on the I/O thread: unknown exception");
                }
            }
        });
    m.running = true;
}

unsigned short HttpServer::port() const { return impl_->bound_port; }

void HttpServer::stop() {
    auto& m = *impl_;
    if (!m.running) return;
    m.running = false;
    // Stop accepting and hang up on every connection; pages already running
    // finish, queued ones are dropped.
    auto closed = std::make_shared<std::promise<void>>();
    auto fut = closed->get_future();
    net::post(m.ioc, [&m, closed] {
        error_code ec;
        m.acceptor.close(ec);
        m.accept_pause.cancel();
        m.close_all([closed] { closed->set_value(); });
    });
    fut.wait();
    m.pool->stop();
    m.pool->join();
    m.work.reset();
    m.ioc.stop();
    for (auto& t : m.io_threads) t.join();
    m.io_threads.clear();
}

void HttpServer::run_until_signal(std::function<void()> on_hangup) {
    // The signal handlers go in before the threads start, so no signal
    // arrives while the default action would still kill the process.
    std::promise<int> got;
    net::signal_set signals(impl_->ioc, SIGINT, SIGTERM);
    signals.async_wait([&got](error_code ec, int sig) { got.set_value(ec ? 0 : sig); });
    // SIGHUP (logrotate) only reopens the log; the wait is armed again after
    // each one. Its own set, so it never completes the shutdown wait above.
    net::signal_set hangups(impl_->ioc, SIGHUP);
    std::function<void()> arm = [&] {
        hangups.async_wait([&](error_code ec, int) {
            if (ec) return;
            if (on_hangup) on_hangup();
            arm();
        });
    };
    arm();
    start();
    got.get_future().wait();
    error_code ignored;
    hangups.cancel(ignored);
    stop();
}

}  // namespace tav
