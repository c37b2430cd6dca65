// Two `tavelor serve` processes on one PostgreSQL database and one site
// folder, behind Debian's nginx in round robin: one session walks the
// desktop, mail, chat and the file store through both, and logout and
// renewal on one server end the old id on the other. Runs in the
// PostgreSQL stage of tools/test.sh only (CTest label postgresql).
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "frame/encoding.h"
#include "frame/site_layout.h"
#include "frame/store.h"
#include "server/session_table.h"
#include "tests/support/files.h"
#include "tests/support/http_client.h"
#include "tests/support/multipart.h"
#include "tests/support/served_site.h"
#include "tests/support/test_site.h"

using namespace tav;
using test::Client;
namespace fs = std::filesystem;

namespace {

const char* kBoundary = "----TavelorTwoServers";

struct TwoServers {
    test::TempDir tmp{"tavelor_two"};
    fs::path dir = tmp.path();
    std::string server, url;
    std::unique_ptr<test::PostgresqlDatabase> database;
    unsigned short app[2] = {test::free_port(), test::free_port()}, web = test::free_port();
    pid_t apps[2] = {-1, -1};
    std::unique_ptr<test::Nginx> nginx;
    Connection db;  // the site's rows, read through the store as a page would

    explicit TwoServers(const std::string& pg) : server(pg) {
        while (app[1] == app[0]) app[1] = test::free_port();
        while (web == app[0] || web == app[1]) web = test::free_port();
        database = std::make_unique<test::PostgresqlDatabase>(server, "two");
        url = database->url;
        const std::string site = (dir / "site").string();
        auto init = test::run_command(std::string(TAVELOR_BINARY) + " init " + site + " --database '" + url + "'");
        if (init.status != 0) throw std::runtime_error("init failed: " + init.out);
        for (int i = 0; i < 2; ++i)
            apps[i] = test::spawn({TAVELOR_BINARY, "serve", site, "--port", std::to_string(app[i]), "--trusted-proxy",
                                   "127.0.0.1", "--log", log_path(i).string()});
        // The shipped server block, its one backend turned into an upstream
        // of both; nginx's access log names the backend of each request.
        const std::string t = (dir / "nginx").string();
        nginx = std::make_unique<test::Nginx>(
            dir / "nginx", web,
            std::vector<std::pair<std::string, std::string>>{
                {"proxy_pass http://127.0.0.1:8080;", "proxy_pass http://tavelor;"}},
            "log_format backend '$upstream_addr $cookie_TAVSESSION $request_method $uri $status';\naccess_log " + t +
                "/logs/access.log backend;\nupstream tavelor {\n    server 127.0.0.1:" + std::to_string(app[0]) +
                ";\n    server 127.0.0.1:" + std::to_string(app[1]) + ";\n}\n");
        use_postgresql((dir / "rows.mdb").string(), url);
        db.Open("dbq=" + (dir / "rows.mdb").string());
    }
    ~TwoServers() {
        db.close();
        forget_postgresql((dir / "rows.mdb").string());
        nginx.reset();
        for (pid_t p : apps) test::stop_process(p);
        database.reset();
    }
    fs::path log_path(int i) const { return dir / ("server" + std::to_string(i) + ".log"); }
    std::string logs() const {
        return "server 0:\n" + test::slurp(log_path(0)) + "server 1:\n" + test::slurp(log_path(1)) + "nginx:\n" +
               nginx->error_log();
    }
    std::string scalar(const std::string& sql) {
        Recordset rs = db.execute(Sql::trusted(sql));
        return rs.eof() ? std::string() : rs("v").str();
    }
    // The backends (ports) nginx sent the requests bearing this session id to.
    std::set<std::string> backends_of(const std::string& id) const {
        std::set<std::string> out;
        std::istringstream in(test::slurp(dir / "nginx" / "logs" / "access.log"));
        std::string backend, cookie, rest;
        while (in >> backend >> cookie && std::getline(in, rest))
            if (cookie == id) out.insert(backend.substr(backend.rfind(':') + 1));
        return out;
    }
};

// One request on a fresh connection; a page's body decoded from GB18030.
test::Response ask(unsigned short port, const std::string& target, const std::string& cookie = "",
                   const std::string& type = "", const std::string& body = "") {
    std::string req = (type.empty() ? "GET " : "POST ") + target + " HTTP/1.1\r\nHost: office.example\r\n";
    if (!cookie.empty()) req += "Cookie: " + cookie + "\r\n";
    if (!type.empty()) req += "Content-Type: " + type + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
    Client c(port);
    c.send(req + "\r\n" + body);
    test::Response r = c.read();
    if (auto t = r.headers.find("content-type"); t != r.headers.end() && t->second.find("gb2312") != std::string::npos)
        r.body = gb_to_utf8(r.body);
    return r;
}

const char* kForm = "application/x-www-form-urlencoded";

// Logs in through the login form; the signed-in cookie (name=value).
std::string login(unsigned short port, const std::string& user, const std::string& password) {
    std::string anonymous = test::cookie_of(ask(port, "/login.asp"));
    test::Response in = ask(port, "/loginverify.asp", anonymous, kForm, "username=" + user + "&password=" + password);
    if (in.status != 302) return {};
    return test::cookie_of(in);
}

std::string id_of(const std::string& cookie) { return cookie.substr(cookie.find('=') + 1); }

bool sent_to_login(const test::Response& r) {
    auto it = r.headers.find("location");
    return r.status == 302 && it != r.headers.end() && it->second == "login.asp";
}

}  // namespace

TEST(TwoServers, OneSessionWalksBothServersAndEndsOnBoth) {
    const std::string pg = test::test_postgresql_server();
    if (pg.empty()) GTEST_SKIP() << "runs on PostgreSQL only (tools/test.sh's PostgreSQL stage)";
    if (!fs::exists(test::Nginx::kProgram)) GTEST_SKIP() << "nginx is not installed";
    TwoServers d(pg);
    for (unsigned short p : {d.app[0], d.app[1]}) ASSERT_TRUE(test::listening(p)) << d.logs();
    ASSERT_TRUE(test::listening(d.web)) << d.logs();
    d.db.execute(Sql::trusted("insert into user(username,password,TrueName,DepartMentID,menu_idstr,record) "
                              "values ('bob','pw','bob',1,'" +
                              d.scalar("select menu_idstr as v from user where id=1") + "',30)"));
    const std::string bob_id = d.scalar("select id as v from user where username='bob'");

    const std::string admin = login(d.web, "admin", "admin");
    ASSERT_FALSE(admin.empty()) << d.logs();
    // The desktop's frames, each a request nginx hands to the next server.
    for (const char* page : {"/default.asp", "/top.asp", "/left.asp", "/bottom.asp", "/message.asp", "/started.asp",
                             "/Email_list.asp?type=0"}) {
        test::Response r = ask(d.web, page, admin);
        EXPECT_EQ(r.status, 200) << page << "\n" << r.body.substr(0, 300) << d.logs();
    }

    // Mail with an attachment to bob, and a chat line.
    const std::string attachment = "an attachment\r\nread on the other server \x01\x02";
    std::vector<test::FormPart> parts = {
        {"EmailTo", "bob;"}, {"to_user_idstr", bob_id + "@"}, {"ImpDegree", "2"}, {"Email_title", "across"}};
    parts.push_back(test::file_part("File1", "note.txt", attachment));
    for (int slot = 2; slot <= 4; ++slot) parts.push_back(test::file_part("File" + std::to_string(slot), "", ""));
    parts.push_back({"body", "<p>two servers</p>"});
    test::Response sent = ask(d.web, "/Email_sendDo.asp", admin, test::multipart_type(kBoundary),
                              test::multipart_body(kBoundary, parts));
    EXPECT_EQ(sent.status, 302) << sent.body << d.logs();
    EXPECT_EQ(ask(d.web, "/Chat_Save.asp", admin, kForm, "oldsays=said-on-one&saystemp=&to_username=").status, 302);

    // The file store: upload, list and download, each maybe on another server.
    std::string content;
    for (int i = 0; i < 3000; ++i) content += static_cast<char>('a' + i % 23);
    test::Response up = ask(d.web, "/file_upload.asp", admin, test::multipart_type(kBoundary),
                            test::multipart_body(kBoundary, {test::file_part("File1", "shared.bin", content),
                                                             {"Folder", "\\user\\admin"}}));
    EXPECT_EQ(up.status, 302) << up.body << d.logs();
    for (int i = 0; i < 2; ++i) {
        EXPECT_NE(ask(d.web, "/file.asp?Folder=%5Cuser%5Cadmin", admin).body.find("shared.bin"), std::string::npos);
        test::Response file = ask(d.web, "/user/admin/shared.bin", admin);
        EXPECT_EQ(file.status, 200);
        EXPECT_EQ(file.body, content);
    }

    // Bob, on each server directly: the reminder counts the new mail (its
    // gate opened by the desktop on the first server, in the session) and
    // the chat shows the line, whichever server wrote them.
    const std::string bob = login(d.web, "bob", "pw");
    ASSERT_FALSE(bob.empty()) << d.logs();
    EXPECT_EQ(ask(d.app[0], "/default.asp", bob).status, 200);
    for (unsigned short p : {d.app[0], d.app[1]}) {
        EXPECT_NE(ask(p, "/message.asp", bob).body.find("有 1 封新邮件"), std::string::npos) << p;
        EXPECT_NE(ask(p, "/Chat_Show.asp", bob).body.find("said-on-one"), std::string::npos) << p;
    }
    const std::string mail = d.scalar("select max(id) as v from Email");
    test::Response read = ask(d.web, "/Email_read.asp?id=" + mail, bob);
    EXPECT_NE(read.body.find("across"), std::string::npos) << read.body.substr(0, 500);
    const std::string link = "href=\"./email/";
    const std::size_t at = read.body.find(link);
    ASSERT_NE(at, std::string::npos) << read.body.substr(0, 2000);
    const std::string file = read.body.substr(at + link.size(), read.body.find('"', at + link.size()) - at - link.size());
    for (int i = 0; i < 2; ++i) {
        test::Response got = ask(d.web, "/email/" + file, bob);
        EXPECT_EQ(got.status, 200) << file;
        EXPECT_EQ(got.body, attachment);
    }

    // Round robin gave both servers requests of each session.
    for (const std::string& c : {admin, bob})
        EXPECT_EQ(d.backends_of(id_of(c)), (std::set<std::string>{std::to_string(d.app[0]), std::to_string(d.app[1])}))
            << test::slurp(d.dir / "nginx" / "logs" / "access.log");

    // Logout through nginx ends the session on both servers.
    EXPECT_TRUE(sent_to_login(ask(d.web, "/logout.asp", admin)));
    for (unsigned short p : {d.app[0], d.app[1]}) {
        EXPECT_TRUE(sent_to_login(ask(p, "/default.asp", admin))) << p;
        EXPECT_EQ(ask(p, "/user/admin/shared.bin", admin).status, 404) << p;
    }
    EXPECT_EQ(ask(d.app[0], "/message.asp", bob).status, 200) << "logout ended another account's session";

    // Renewed at login on one server: the other refuses the old id and
    // takes the new one.
    for (int first = 0; first < 2; ++first) {
        const std::string before = test::cookie_of(ask(d.app[first], "/login.asp"));
        test::Response in = ask(d.app[first], "/loginverify.asp", before, kForm, "username=admin&password=admin");
        ASSERT_EQ(in.status, 302);
        const std::string after = test::cookie_of(in);
        ASSERT_NE(after, before);
        test::Response old = ask(d.app[1 - first], "/default.asp", before);
        EXPECT_TRUE(sent_to_login(old)) << old.status;
        EXPECT_EQ(ask(d.app[1 - first], "/default.asp", after).status, 200);
    }
    // The table holds hashes, never an id a browser was given.
    EXPECT_EQ(d.scalar("select count(*) as v from tav_session where id_hash='" + id_of(bob) + "'"), "0");
    EXPECT_EQ(d.scalar("select count(*) as v from tav_session where len(id_hash)=64"),
              d.scalar("select count(*) as v from tav_session"));
}

TEST(TwoServers, TheTableKeepsHostileValuesAndMakesRoomWithAnonymousSessions) {
    if (test::test_postgresql_server().empty()) GTEST_SKIP() << "runs on PostgreSQL only";
    test::TestSite site;
    struct Lines : AppLog {
        std::vector<std::string> lines;
        void write(int, const std::string& text) override { lines.push_back(text); }
    } log;
    const std::string db = layout::database_path(site.root());
    SessionStore one, other;
    one.share_through(session_table(db, log));
    other.share_through(session_table(db, log));
    std::string mega;
    for (int i = 0; i < (1 << 20) / 16; ++i) mega += std::string("'</script>\0%\t\n\xff", 16);
    const std::pair<std::string, Value> values[] = {
        {"quote", Value("a'b''c")}, {"nul", Value(std::string("x\0y", 3))}, {"script", Value("</script>")},
        {"gb", Value(std::string("\xC4\xE3\xBA\xC3"))}, {"mega", Value(mega)}, {"n", Value(2.5)}};
    auto data = std::make_shared<SessionData>();
    for (const auto& [k, v] : values) data->values[k] = v;
    const std::string id = one.add(data);
    ASSERT_FALSE(id.empty()) << (log.lines.empty() ? "" : log.lines.back());
    auto got = other.peek(id);
    ASSERT_TRUE(got);
    for (const auto& [k, v] : values) {
        EXPECT_EQ(got->values[k].kind(), v.kind()) << k;
        EXPECT_EQ(got->values[k].str(), v.str()) << k;
    }

    // Over the cap the anonymous session idle longest goes; a signed-in one
    // stays however long idle, an expired one goes whatever it is.
    auto table = session_table(db, log);
    const long long now = std::chrono::duration_cast<std::chrono::seconds>(
                              std::chrono::system_clock::now().time_since_epoch()).count();
    table->insert("old-anonymous", {"", false, now + 10});
    table->insert("new-anonymous", {"", false, now + 20});
    table->insert("signed-in", {"", true, now + 5});
    table->insert("expired", {"", true, now - 5});
    table->sweep(now, 3);
    EXPECT_FALSE(table->load("old-anonymous"));
    EXPECT_FALSE(table->load("expired"));
    for (const char* key : {"new-anonymous", "signed-in"}) EXPECT_TRUE(table->load(key)) << key;
    EXPECT_TRUE(other.peek(id));
    EXPECT_EQ(table->count(now), 3u);
    EXPECT_TRUE(log.lines.empty()) << log.lines.front();
}
