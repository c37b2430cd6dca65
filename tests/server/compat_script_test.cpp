// The client compatibility script goes in front of a page that asks for it,
// by the page's flag, never by what the page's text happens to contain.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/page_runner.h"
#include "tests/support/test_site.h"

using namespace tav;
using test::BodyPage;
using test::TestSite;

namespace {

[[maybe_unused]] const bool registered = register_page("compattest", [] { return std::make_unique<BodyPage>("compattest"); });

const std::string kFull = "<script src=\"tavcompat.js\"></script>\r\n";
const std::string kDialogs = "<script src=\"tavdialog.js\"></script>\r\n";

}  // namespace

TEST(CompatScript, ChosenByTheFlagAlone) {
    TestSite site;
    struct Case {
        const char* what;
        unsigned bits;
        std::string prefix;
    } cases[] = {
        {"none", 0, ""},
        {"dialogs", kCompatDialogs, kDialogs},
        {"script", kCompatScript, kFull},
        {"both", kCompatDialogs | kCompatScript, kFull},
    };
    for (const auto& c : cases) {
        auto r = test::run_body(site, "compattest", "/x.asp", [&](BodyPage&) {
            // Text that once decided it does not any more.
            Response.line("<script language=\"VBScript\">showModalDialog \"x\"</script>");
            if (c.bits) Response.client_compat(c.bits);
            Response.line("end");
        });
        std::string body = r.body;
        EXPECT_EQ(body.substr(0, c.prefix.size()), c.prefix) << c.what;
        EXPECT_EQ(body.substr(c.prefix.size(), 8), "<script ") << c.what;
        EXPECT_EQ(body.find("tavcompat.js", c.prefix.size()), std::string::npos) << c.what;
        EXPECT_EQ(body.find("tavdialog.js", c.prefix.size()), std::string::npos) << c.what;
    }
    // A redirect carries no script.
    auto moved = test::run_body(site, "compattest", "/x.asp", [](BodyPage&) {
        Response.client_compat(kCompatScript);
        Response.redirect("login.asp");
    });
    EXPECT_EQ(moved.body.find("tavcompat.js"), std::string::npos);
}

TEST(CompatScript, AnInstanceWithoutTheDialogBundleGetsTheFullOne) {
    TestSite site;
    std::filesystem::remove(site.root() + "/tavdialog.js");
    Site older(site.root(), site.root() + "/../older.log");
    HttpRequest req;
    req.method = "GET";
    req.target = "/x.asp";
    BodyPage::body() = [](BodyPage&) { Response.client_compat(kCompatDialogs); };
    HttpResponse r = older.run_page("compattest", req);
    BodyPage::body() = nullptr;
    EXPECT_EQ(r.body.substr(0, kFull.size()), kFull);
}
