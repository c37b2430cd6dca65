// The page table as the page files register it, against every URL the site
// is known to have.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "frame/paths.h"
#include "server/page_table.h"
#include "tests/support/page_urls.h"
#include "tests/support/test_site.h"

using tav::test::expected_pages;

TEST(PageTable, EveryExpectedUrlIsRegisteredAndEveryVariantReachesIt) {
    std::map<std::string, std::string> expected;  // lower URL -> class
    std::set<std::string> expected_classes;
    for (const auto& e : expected_pages()) {
        auto [it, fresh] = expected.emplace(tav::lower(e.url), e.cls);
        EXPECT_TRUE(fresh || it->second == e.cls) << e.url;  // variants name one class
        expected_classes.insert(tav::lower(e.cls));
    }
    EXPECT_EQ(expected.size(), 93u);

    std::set<std::string> classes;
    for (const auto& r : tav::page_table()) {
        auto it = expected.find(tav::lower(r.url));
        ASSERT_NE(it, expected.end()) << r.url << " is no URL of the site";
        EXPECT_EQ(r.cls, tav::lower(it->second)) << r.url;
        EXPECT_TRUE(classes.insert(r.cls).second) << r.cls << " registered twice";
    }
    EXPECT_EQ(classes, expected_classes);
    // Each written variant, and its lower case, finds the class; no other name does.
    for (const auto& e : expected_pages()) {
        EXPECT_EQ(tav::page_class_for(e.url), tav::lower(e.cls)) << e.url;
        EXPECT_EQ(tav::page_class_for(tav::lower(e.url)), tav::lower(e.cls)) << e.url;
    }
    EXPECT_EQ(tav::page_class_for("Data_Lists.asp"), "");
}

TEST(PageTable, UnknownPagesAnswer404AndKnownOnesAnyCase) {
    tav::test::TestSite site;
    EXPECT_EQ(site.get("Data_Lists.asp").status, 404);
    EXPECT_EQ(site.get("POP_ok.ASP?message=x&next_href=close.asp").status, 200);
    EXPECT_EQ(site.get("./").status, 302);  // the desktop, which wants a login
}
