#include "tests/support/test_site.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#if TAVELOR_POSTGRESQL
#include <libpq-fe.h>
#endif

#include "frame/encoding.h"
#include "frame/password.h"
#include "frame/paths.h"
#include "frame/site_layout.h"
#include "server/instance.h"
#include "tests/support/files.h"

namespace fs = std::filesystem;

namespace tav::test {

std::string Reply::header(const std::string& name) const {
    for (const auto& [n, v] : headers)
        if (iequals(n, name)) return v;
    return {};
}

std::string Reply::location() const { return gb_to_utf8(percent_decode(header("Location"), false)); }

std::string form_encode(const std::string& utf8) {
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : utf8_to_gb(utf8)) {
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
            c == '_' || c == '.' || c == '*') {
            out += static_cast<char>(c);
        } else if (c == ' ') {
            out += '+';
        } else {
            out += '%';
            out += digits[c >> 4];
            out += digits[c & 15];
        }
    }
    return out;
}

std::string test_postgresql_server() {
    const char* engine = std::getenv("TAVELOR_TEST_ENGINE");
    if (!engine || std::string(engine) != "postgresql") return {};
    const char* server = std::getenv("TAVELOR_TEST_POSTGRES");
    if (!server || !*server) throw std::runtime_error("TAVELOR_TEST_ENGINE=postgresql needs TAVELOR_TEST_POSTGRES");
    return server;
}

std::string postgresql_url_with_database(const std::string& server, const std::string& database) {
    // postgresql://[authority]/[database][?query]
    std::size_t scheme = server.find("://");
    std::size_t path = server.find('/', scheme == std::string::npos ? 0 : scheme + 3);
    std::size_t query = server.find('?');
    std::string head = path == std::string::npos ? server.substr(0, query) : server.substr(0, path);
    std::string tail = query == std::string::npos ? "" : server.substr(query);
    return head + "/" + database + tail;
}

void postgresql_admin(const std::string& server, const std::string& statement) {
#if TAVELOR_POSTGRESQL
    PGconn* c = PQconnectdb(server.c_str());
    std::string error;
    if (PQstatus(c) != CONNECTION_OK) {
        error = PQerrorMessage(c);
    } else {
        PGresult* r = PQexec(c, statement.c_str());
        if (PQresultStatus(r) != PGRES_COMMAND_OK) error = PQresultErrorMessage(r);
        PQclear(r);
    }
    PQfinish(c);
    if (!error.empty()) throw std::runtime_error(statement + ": " + error);
#else
    throw std::runtime_error("built without libpq: " + statement);
#endif
}

PostgresqlDatabase::PostgresqlDatabase(const std::string& server_url, const std::string& tag, bool from_template)
    : server(server_url) {
    static std::atomic<unsigned> count{0};
    name = "tavelor_" + tag + "_" + std::to_string(::getpid()) + "_" + std::to_string(++count);
    const char* tpl = from_template ? std::getenv("TAVELOR_TEST_POSTGRES_TEMPLATE") : nullptr;
    postgresql_admin(server, "CREATE DATABASE " + name + (tpl && *tpl ? std::string(" TEMPLATE ") + tpl : ""));
    url = postgresql_url_with_database(server, name);
}

PostgresqlDatabase::~PostgresqlDatabase() {
    try {
        postgresql_admin(server, "DROP DATABASE IF EXISTS " + name + " WITH (FORCE)");
    } catch (const std::exception&) {
        // Left for the cluster's removal at the end of the run.
    }
}

TestSite::TestSite() {
    password::use_least_cost();
    char tmpl[] = "/tmp/tavelor-test-XXXXXX";
    if (!::mkdtemp(tmpl)) throw std::runtime_error("mkdtemp failed");
    dir_ = tmpl;
    root_ = dir_ + "/site";
    log_ = dir_ + "/app.log";
    if (std::string server = test_postgresql_server(); !server.empty())
        pg_ = std::make_unique<PostgresqlDatabase>(server, "test");
    init_site(root_, TAVELOR_TEMPLATE_DIR, pg_ ? pg_->url : "");
    site_ = std::make_unique<Site>(root_, log_);
    root_ = site_->root();
    db_.Open("driver={Microsoft Access Driver (*.mdb)};UID=sa;PWD=;dbq=" + root_ + "/datebase/office.mdb");
}

TestSite::~TestSite() {
    db_.close();
    site_.reset();
    if (pg_) {
        forget_postgresql(layout::database_path(root_));
        pg_.reset();
    }
    std::error_code ec;
    fs::remove_all(dir_, ec);
}

void TestSite::reopen() {
    db_.close();
    site_.reset();
    cookie_.clear();
    site_ = std::make_unique<Site>(root_, log_);
    db_.Open("driver={Microsoft Access Driver (*.mdb)};UID=sa;PWD=;dbq=" + root_ + "/datebase/office.mdb");
}

Reply TestSite::run(const std::string& cls, const std::string& target) {
    HttpRequest req;
    req.method = "GET";
    req.target = percent_escape(utf8_to_gb(target), "", true);
    return send(std::move(req), cls);
}

Reply TestSite::send(HttpRequest req) { return send(std::move(req), ""); }

Reply TestSite::send(HttpRequest req, const std::string& cls) {
    if (req.remote_addr.empty()) req.remote_addr = "127.0.0.1";
    bool has_host = false;
    for (auto& h : req.headers)
        if (iequals(h.first, "Host")) has_host = true;
    if (!has_host) req.headers.emplace_back("Host", "localhost:8080");
    if (!cookie_.empty()) req.headers.emplace_back("Cookie", std::string(Site::kSessionCookie) + "=" + cookie_);
    HttpResponse r = cls.empty() ? site_->handle(req) : site_->run_page(cls, req);
    Reply out;
    out.status = r.status;
    out.delay = r.delay;
    out.headers = r.headers;
    out.raw = r.file.empty() ? r.body : slurp(r.file);
    out.body = lower(r.header("Content-Type")).find("gb2312") != std::string::npos ? gb_to_utf8(out.raw) : out.raw;
    std::string set = r.header("Set-Cookie");
    std::string prefix = std::string(Site::kSessionCookie) + "=";
    if (set.rfind(prefix, 0) == 0) cookie_ = set.substr(prefix.size(), set.find(';') - prefix.size());
    return out;
}

static std::string encode_target(const std::string& url) {
    std::string target = url.empty() || url[0] != '/' ? "/" + url : url;
    return percent_escape(utf8_to_gb(target), "", true);
}

Reply TestSite::get(const std::string& url) {
    HttpRequest req;
    req.method = "GET";
    req.target = encode_target(url);
    return send(std::move(req));
}

Reply TestSite::post_form(const std::string& url,
                          const std::vector<std::pair<std::string, std::string>>& fields) {
    std::string body;
    for (const auto& [n, v] : fields) {
        if (!body.empty()) body += '&';
        body += form_encode(n) + "=" + form_encode(v);
    }
    return post_raw(url, "application/x-www-form-urlencoded", body);
}

Reply TestSite::post_raw(const std::string& url, const std::string& content_type, std::string body) {
    HttpRequest req;
    req.method = "POST";
    req.target = encode_target(url);
    req.headers.emplace_back("Content-Type", content_type);
    req.headers.emplace_back("Content-Length", std::to_string(body.size()));
    req.body = std::make_shared<MemoryBody>(std::move(body));
    return send(std::move(req));
}

bool TestSite::login(const std::string& user, const std::string& password) {
    get("/login.asp");
    Reply r = post_form("/loginverify.asp", {{"username", user}, {"password", password}});
    return r.status == 302 && r.location() == "./";
}

void TestSite::exec(const std::string& sql) { db_.execute(Sql::trusted(sql)); }

Recordset TestSite::query(const std::string& sql) { return db_.execute(Sql::trusted(sql)); }

std::string TestSite::scalar(const std::string& sql, const std::string& field) {
    Recordset rs = db_.execute(Sql::trusted(sql));
    if (rs.eof()) return {};
    return rs(field).str();
}

std::string TestSite::log_text() const { return slurp(log_); }

}  // namespace tav::test
