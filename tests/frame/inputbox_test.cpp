// The editor's toolbar, written by a page through its routine group. The
// browser test drives this very markup from its fixture, so the fixture is
// the check of every button, option and attribute.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "frame/inputbox.h"
#include "frame/page.h"
#include "tests/support/files.h"
#include "tests/support/page_runner.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

using namespace tav;
using tav::test::BodyPage;
using tav::test::count;

namespace {

const bool registered = register_page("inputboxtest", [] { return std::make_unique<BodyPage>("inputboxtest"); });

std::string without_cr(std::string s) {
    std::erase(s, '\r');
    return s;
}

}  // namespace

TEST(InputBox, WrittenInPlaceAsTheBrowserFixturesMarkupWithItsImages) {
    test::TestSite site;
    // The page writes text, the toolbar, text: the toolbar lands in between.
    const std::string body = test::run_body(site, "inputboxtest", "/x.asp", [](BodyPage& page) {
                                 InputBox box(page);
                                 Response.write("BEFORE|");
                                 box.inputboxI_init();
                                 Response.write("|AFTER");
                             }).body;
    const auto from = body.find("BEFORE|"), to = body.find("|AFTER");
    ASSERT_TRUE(from != std::string::npos && to != std::string::npos) << body;
    const std::string bar = body.substr(from + 7, to - from - 7);
    EXPECT_TRUE(bar.starts_with("<table")) << bar;
    EXPECT_EQ(count(bar, "\n"), count(bar, "\r\n")) << "every line ends in CR LF";
    const auto root = std::filesystem::path(TAVELOR_TEMPLATE_DIR);
    EXPECT_EQ(without_cr(test::slurp(root / ".." / "tests" / "e2e" / "fixtures" / "editor_toolbar.html")),
              without_cr(bar));
    // Every icon exists in its three states (at rest, under the mouse, pressed).
    int icons = 0;
    for (std::size_t at = bar.find("SRC=\"img/"); at != std::string::npos; at = bar.find("SRC=\"img/", at + 1)) {
        const std::string name = bar.substr(at + 9, bar.find(".gif", at) - at - 9);
        for (const char* state : {"", "1", "2"})
            EXPECT_TRUE(std::filesystem::exists(root / "img" / (name + state + ".gif"))) << name << state;
        ++icons;
    }
    EXPECT_EQ(icons, 13);
}
