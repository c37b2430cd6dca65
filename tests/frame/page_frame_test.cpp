// The contract every page shares: the standard error report, END_PAGE,
// nested routines, session keys without case and the script time limit.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "frame/page.h"
#include "frame/vb.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

using namespace tav;
using tav::test::TestSite;
using tav::test::count;

namespace {

class framefail : public Page {
public:
    framefail() : Page("FrameFail") {}
    static inline unsigned line = 0;
    void I_init() override {
        Response.write("before");
        line = __LINE__ + 1;
        conn.execute("select nothing from nowhere");  // not opened: fails here
        Response.write("after");
    }
};

class frameend : public Page {
public:
    frameend() : Page("frameend") {}
    void I_init() override {
        Response.write("kept");
        nested();
        Response.write("|caller went on");
        Response.redirect("Pop_OK.asp?message=完成&next_href=x.asp");
        END_PAGE();
        Response.write("never");
    }
    void nested() {
        routine("nested", [&] {
            Response.write("|nested");
            END_PAGE();
            Response.write("|not here");
        });
    }
};

class framenested : public Page {
public:
    framenested() : Page("framenested") {}
    void I_init() override {
        dbI_init();
        Value v = lookup();
        Response.write("[" + v + "]");
        Response.write("|done");
    }
    Value lookup() {
        return routine("lookup", [&]() -> Value {
            rs = conn.execute("select truename from user where id=");  // broken statement
            return rs("truename");
        });
    }
};

class framedb : public Page {
public:
    framedb() : Page("framedb") {}
    void I_init() override {
        dbI_init();
        rs = conn.execute("select * from software");
        Response.write("unreached");
    }
};

class framesession : public Page {
public:
    framesession() : Page("framesession") {}
    void I_init() override {
        if (Request.querystring("set") == "1") Session.set("USER_ID", 42);
        Response.write("uid=" + Session("user_id") + ";" + Session("User_Id"));
    }
};

class frameslow : public Page {
public:
    frameslow() : Page("frameslow") {}
    void I_init() override {
        Server.ScriptTimeOut(1);
        Response.write("started");
        for (int i = 0; i < 100; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            Response.write(".");  // each host call checks the limit
        }
        Response.write("finished");
    }
};

class File : public Page {
public:
    File() : Page("File") {}
    void I_init() override { conn.execute("select 1"); }
};

const bool registered = [] {
    register_page("framefail", [] { return std::unique_ptr<Page>(new framefail()); });
    register_page("frameend", [] { return std::unique_ptr<Page>(new frameend()); });
    register_page("framenested", [] { return std::unique_ptr<Page>(new framenested()); });
    register_page("framedb", [] { return std::unique_ptr<Page>(new framedb()); });
    register_page("framesession", [] { return std::unique_ptr<Page>(new framesession()); });
    register_page("frameslow", [] { return std::unique_ptr<Page>(new frameslow()); });
    register_page("framefile", [] { return std::unique_ptr<Page>(new File()); });
    return true;
}();

}  // namespace

TEST(PageFrame, FailureWritesTheReportWithLineAndLowerCaseClass) {
    TestSite site;
    auto r = site.run("framefail");
    EXPECT_EQ(r.status, 200);
    // Output so far stays, the report follows, the rest never runs.
    EXPECT_EQ(r.body.rfind("before Error ", 0), 0u) << r.body;
    const std::string n = std::to_string(framefail::line);
    EXPECT_NE(r.body.find(" LINE" + n + " Routine : framefail.I_init"), std::string::npos) << r.body;
    EXPECT_EQ(r.body.find("after"), std::string::npos);
    std::string log = site.log_text();
    EXPECT_NE(log.find(" LINE #" + n + " Routine : framefail.I_init"), std::string::npos) << log;
    EXPECT_EQ(count(log, "\n"), 1);
}

TEST(PageFrame, ClassesWithCapitalsReportInLowerCase) {
    TestSite site;
    auto r = site.run("framefile");
    EXPECT_NE(r.body.find("Routine : file.I_init"), std::string::npos) << r.body;
}

TEST(PageFrame, EndPageLeavesNoLogAndNoText) {
    TestSite site;
    auto r = site.run("frameend");
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=完成&next_href=x.asp");
    EXPECT_EQ(r.body.find(" Error "), std::string::npos);
    EXPECT_EQ(r.body.find("never"), std::string::npos);
    EXPECT_EQ(site.log_text(), "");
}

TEST(PageFrame, NestedEndPageEndsOnlyThatRoutine) {
    TestSite site;
    // Same page without the redirect: see what the nested END_PAGE left.
    class probe : public frameend {
    public:
        void I_init() override {
            Response.write("kept");
            nested();
            Response.write("|caller went on");
        }
    };
    register_page("frameendprobe", [] { return std::unique_ptr<Page>(new probe()); });
    auto r = site.run("frameendprobe");
    EXPECT_EQ(r.body, "kept|nested|caller went on");
    EXPECT_EQ(site.log_text(), "");
}

TEST(PageFrame, FailingNestedRoutineReturnsItsDefaultAndTheCallerGoesOn) {
    TestSite site;
    auto r = site.run("framenested");
    EXPECT_NE(r.body.find("Routine : framenested.lookup"), std::string::npos) << r.body;
    EXPECT_NE(r.body.find("[]|done"), std::string::npos) << r.body;
}

TEST(PageFrame, MissingDatabaseGivesTwoReports) {
    TestSite site;
    std::filesystem::remove(site.root() + "/datebase/office.mdb");
    auto r = site.run("framedb");
    EXPECT_EQ(count(r.body, " Error "), 2) << r.body;
    EXPECT_NE(r.body.find("Routine : framedb.dbI_init"), std::string::npos);
    EXPECT_NE(r.body.find("Routine : framedb.I_init"), std::string::npos);
    EXPECT_EQ(r.body.find("unreached"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(site.root() + "/datebase/office.mdb"));
}

TEST(PageFrame, SessionKeysIgnoreCase) {
    TestSite site;
    EXPECT_EQ(site.run("framesession", "/t.asp?set=1").body, "uid=42;42");
    EXPECT_EQ(site.run("framesession").body, "uid=42;42");  // kept in the session
    site.forget_session();
    EXPECT_EQ(site.run("framesession").body, "uid=;");
}

TEST(PageFrame, ScriptTimeLimitStopsThePage) {
    TestSite site;
    auto r = site.run("frameslow");
    EXPECT_EQ(r.body.rfind("started", 0), 0u);
    EXPECT_NE(r.body.find("The script timed out"), std::string::npos);
    EXPECT_EQ(r.body.find("finished"), std::string::npos);
    EXPECT_NE(site.log_text().find("frameslow.I_init"), std::string::npos);
}
