// A fresh site instance in a temporary folder, with an in-process client
// that keeps the session cookie: pages are run through the real dispatcher.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "frame/store.h"
#include "server/http_types.h"
#include "server/site.h"

namespace tav::test {

struct Reply {
    int status = 0;
    std::chrono::milliseconds delay{0};  // how long the server would hold the answer back
    std::string body;   // decoded to UTF-8 for text answers
    std::string raw;    // bytes as sent
    std::vector<std::pair<std::string, std::string>> headers;
    std::string header(const std::string& name) const;
    // The Location header decoded back to UTF-8.
    std::string location() const;
};

// Browser-style encoding of a UTF-8 text for a URL or form: GB18030 bytes,
// non-ASCII and reserved ones percent-escaped.
std::string form_encode(const std::string& utf8);

// The server the fixture makes each site's database on, from
// TAVELOR_TEST_POSTGRES (a postgresql:// URL of a database the role may
// create databases from) when TAVELOR_TEST_ENGINE=postgresql; "" for SQLite.
std::string test_postgresql_server();
// `server` with its database name replaced.
std::string postgresql_url_with_database(const std::string& server, const std::string& database);
// Runs one administrative statement on the server (create/drop database).
void postgresql_admin(const std::string& server, const std::string& statement);

// A database of its own on the server, named after the process and a count,
// dropped with the object; a copy of TAVELOR_TEST_POSTGRES_TEMPLATE when
// that is set (a database init made once: much quicker than the schema).
struct PostgresqlDatabase {
    std::string server, name, url;
    PostgresqlDatabase(const std::string& server, const std::string& tag, bool from_template = true);
    ~PostgresqlDatabase();
    PostgresqlDatabase(const PostgresqlDatabase&) = delete;
    PostgresqlDatabase& operator=(const PostgresqlDatabase&) = delete;
};

class TestSite {
public:
    TestSite();
    ~TestSite();
    TestSite(const TestSite&) = delete;
    TestSite& operator=(const TestSite&) = delete;

    // url: site-relative, may hold UTF-8 in its query (sent as GB18030).
    Reply get(const std::string& url);
    Reply post_form(const std::string& url, const std::vector<std::pair<std::string, std::string>>& fields);
    Reply post_raw(const std::string& url, const std::string& content_type, std::string body);
    Reply send(HttpRequest req);
    // Runs a page class directly (e.g. one a test registered), with the
    // session cookie, as a GET of target.
    Reply run(const std::string& cls, const std::string& target = "/test.asp");
    // Logs in through the login pages; true on success.
    bool login(const std::string& user = "admin", const std::string& password = "admin");
    void forget_session() { cookie_.clear(); }

    // Direct access to the instance's database, outside any request.
    void exec(const std::string& sql);
    Recordset query(const std::string& sql);
    // The named field of the first row, "" when there is none.
    std::string scalar(const std::string& sql, const std::string& field);

    // Opens the instance again as a new server process would (its
    // database found anew, no session kept): after a command changed it.
    void reopen();

    std::string log_text() const;
    const std::string& root() const { return root_; }
    Site& site() { return *site_; }

private:
    Reply send(HttpRequest req, const std::string& cls);
    std::string dir_;
    std::string root_;
    std::string log_;
    std::unique_ptr<PostgresqlDatabase> pg_;  // the site's own database when the suite runs on PostgreSQL
    std::unique_ptr<Site> site_;
    std::string cookie_;
    Connection db_;
};

}  // namespace tav::test
