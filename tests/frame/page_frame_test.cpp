// The contract every page shares: the standard error report, END_PAGE,
// nested routines, session keys without case and the script time limit.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "frame/page.h"
#include "frame/vb.h"
#include "tests/support/page_runner.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

using namespace tav;
using tav::test::BodyPage;
using tav::test::TestSite;
using tav::test::count;

namespace {

// Class names as pages give them; reports use them in lower case.
const bool registered = [] {
    register_page("framepage", [] { return std::make_unique<BodyPage>("framepage"); });
    register_page("framefail", [] { return std::make_unique<BodyPage>("FrameFail"); });
    register_page("framefile", [] { return std::make_unique<BodyPage>("File"); });
    return true;
}();

test::Reply run(TestSite& site, BodyPage::Body fn, const std::string& cls = "framepage",
                const std::string& target = "/x.asp") {
    return test::run_body(site, cls, target, std::move(fn));
}

// A routine that ends the page from inside.
void nested(BodyPage& page) {
    page.routine("nested", [&] {
        Response.write("|nested");
        END_PAGE();
        Response.write("|not here");
    });
}

}  // namespace

TEST(PageFrame, FailureWritesTheReportWithLineAndLowerCaseClass) {
    TestSite site;
    unsigned line = 0;
    auto r = run(site, [&](BodyPage& page) {
        Response.write("before");
        line = __LINE__ + 1;
        page.db().execute("select nothing from nowhere");  // not opened: fails here
        Response.write("after");
    }, "framefail");
    EXPECT_EQ(r.status, 200);
    // Output so far stays, the report follows, the rest never runs.
    EXPECT_EQ(r.body.rfind("before Error ", 0), 0u) << r.body;
    const std::string n = std::to_string(line);
    EXPECT_NE(r.body.find(" LINE" + n + " Routine : framefail.I_init"), std::string::npos) << r.body;
    EXPECT_EQ(r.body.find("after"), std::string::npos);
    std::string log = site.log_text();
    EXPECT_NE(log.find(" LINE #" + n + " Routine : framefail.I_init"), std::string::npos) << log;
    EXPECT_EQ(count(log, "\n"), 1);
    r = run(site, [](BodyPage& page) { page.db().execute("select 1"); }, "framefile");
    EXPECT_NE(r.body.find("Routine : file.I_init"), std::string::npos) << r.body;
}

TEST(PageFrame, EndPageLeavesNoLogANestedOneEndsOnlyItsRoutineAndAFailingOneReturnsItsDefault) {
    TestSite site;
    auto r = run(site, [](BodyPage& page) {
        Response.write("kept");
        nested(page);
        Response.write("|caller went on");
        Response.redirect("Pop_OK.asp?message=完成&next_href=x.asp");
        END_PAGE();
        Response.write("never");
    });
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=完成&next_href=x.asp");
    EXPECT_EQ(r.body.find(" Error "), std::string::npos);
    EXPECT_EQ(r.body.find("never"), std::string::npos);
    // Without the redirect: what the nested END_PAGE left.
    r = run(site, [](BodyPage& page) {
        Response.write("kept");
        nested(page);
        Response.write("|caller went on");
    });
    EXPECT_EQ(r.body, "kept|nested|caller went on");
    EXPECT_EQ(site.log_text(), "");
    // A routine that fails reports, returns its default, and the caller goes on.
    r = run(site, [](BodyPage& page) {
        page.dbI_init();
        Value v = page.routine("lookup", [&]() -> Value {
            page.records() = page.db().execute("select truename from user where id=");  // broken statement
            return page.records()("truename");
        });
        Response.write("[" + v + "]|done");
    });
    EXPECT_NE(r.body.find("Routine : framepage.lookup"), std::string::npos) << r.body;
    EXPECT_NE(r.body.find("[]|done"), std::string::npos) << r.body;
}

TEST(PageFrame, MissingDatabaseGivesTwoReports) {
    TestSite site;
    std::filesystem::remove(site.root() + "/datebase/office.mdb");
    auto r = run(site, [](BodyPage& page) {
        page.dbI_init();
        page.records() = page.db().execute("select * from software");
        Response.write("unreached");
    });
    EXPECT_EQ(count(r.body, " Error "), 2) << r.body;
    EXPECT_NE(r.body.find("Routine : framepage.dbI_init"), std::string::npos);
    EXPECT_NE(r.body.find("Routine : framepage.I_init"), std::string::npos);
    EXPECT_EQ(r.body.find("unreached"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(site.root() + "/datebase/office.mdb"));
}

TEST(PageFrame, SessionKeysIgnoreCase) {
    TestSite site;
    auto uid = [&](const std::string& target) {
        return run(site, [](BodyPage&) {
            if (Request.querystring("set") == "1") Session.set("USER_ID", 42);
            Response.write("uid=" + Session("user_id") + ";" + Session("User_Id"));
        }, "framepage", target).body;
    };
    EXPECT_EQ(uid("/t.asp?set=1"), "uid=42;42");
    EXPECT_EQ(uid("/t.asp"), "uid=42;42");  // kept in the session
    site.forget_session();
    EXPECT_EQ(uid("/t.asp"), "uid=;");
}

TEST(PageFrame, ScriptTimeLimitStopsThePage) {
    TestSite site;
    auto r = run(site, [](BodyPage&) {
        Server.ScriptTimeOut(5000);  // what upload pages ask for: held to the server's bound
        Response.write("limit=" + std::to_string(Server.object().script_timeout()) + ";");
        Server.ScriptTimeOut(1);
        Response.write("started");
        for (int i = 0; i < 100; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            Response.write(".");  // each host call checks the limit
        }
        Response.write("finished");
    });
    EXPECT_EQ(r.body.rfind("limit=90;started", 0), 0u);
    EXPECT_NE(r.body.find("The script timed out"), std::string::npos);
    EXPECT_EQ(r.body.find("finished"), std::string::npos);
    EXPECT_NE(site.log_text().find("framepage.I_init"), std::string::npos);
}
