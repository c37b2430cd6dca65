// The client compatibility script goes in front of a page that asks for it,
// by the page's flag, never by what the page's text happens to contain; an
// instance gets it joined from the template's parts.
#include <gtest/gtest.h>

#include <filesystem>

#include "server/instance.h"
#include "tests/support/files.h"
#include "tests/support/page_runner.h"
#include "tests/support/test_site.h"

using namespace tav;
using test::BodyPage;
using test::TestSite;
namespace fs = std::filesystem;

namespace {

[[maybe_unused]] const bool registered = register_page("compattest", [] { return std::make_unique<BodyPage>("compattest"); });

const std::string kDialogs = "<script src=\"tavdialog.js\"></script>\r\n";

}  // namespace

TEST(CompatScript, ChosenByTheFlagAlone) {
    TestSite site;
    for (bool wanted : {false, true}) {
        auto r = test::run_body(site, "compattest", "/x.asp", [&](BodyPage&) {
            // Text that once decided it does not any more.
            Response.line("<script language=\"javascript\">showModalDialog(\"x\");</script>");
            if (wanted) Response.client_compat(kCompatDialogs);
            Response.line("end");
        });
        std::string prefix = wanted ? kDialogs : "";
        EXPECT_EQ(r.body.substr(0, prefix.size()), prefix) << wanted;
        EXPECT_EQ(r.body.substr(prefix.size(), 8), "<script ") << wanted;
        EXPECT_EQ(r.body.find("tavdialog.js", prefix.size()), std::string::npos) << wanted;
    }
    // A redirect carries no script.
    auto moved = test::run_body(site, "compattest", "/x.asp", [](BodyPage&) {
        Response.client_compat(kCompatDialogs);
        Response.redirect("login.asp");
    });
    EXPECT_EQ(moved.body.find("tavdialog.js"), std::string::npos);
}

TEST(CompatScript, TheInstanceServesTheJoinedScriptWithoutTheTranslator) {
    TestSite site;
    // The whole file against the parts: tests/js/bundles.test.js.
    std::string script = test::slurp(fs::path(site.root()) / "tavdialog.js");
    EXPECT_NE(script.find("function openDialogHere("), std::string::npos);
    // The translator of the old VBScript pages is not part of it.
    EXPECT_EQ(script.find("translate("), std::string::npos);
    auto js = site.get("/tavdialog.js");
    EXPECT_EQ(js.status, 200);
    EXPECT_EQ(js.raw.size(), script.size());
}

TEST(CompatScript, JoiningTakesOnlyListedPlainNames) {
    test::TempDir tmp("tav-compat");
    const fs::path dir = tmp.path();
    test::put_file(dir / "a.js", "A();");
    test::put_file(dir / "b_c.js", "B();\n");
    test::put_file(dir / "sub" / "x.js", "X();\n");
    struct Case {
        const char* order;  // nullptr: no order file
        const char* joined;  // nullptr: refused
    } cases[] = {
        {"a\nb_c\n", "A();\nB();\n"},
        {"# comment\r\n\r\nb_c\r\na\r\n", "B();\nA();\n"},
        {"a\nmissing\n", nullptr},
        {"../a\n", nullptr},
        {"sub/x\n", nullptr},
        {"a.js\n", nullptr},
        {"A\n", nullptr},
        {nullptr, nullptr},
    };
    for (const Case& c : cases) {
        fs::remove(dir / "order.txt");
        if (c.order) test::put_file(dir / "order.txt", c.order);
        std::string what = c.order ? c.order : "(none)";
        if (c.joined)
            EXPECT_EQ(join_client_script(dir.string()), c.joined) << what;
        else
            EXPECT_THROW(join_client_script(dir.string()), std::runtime_error) << what;
    }
}
