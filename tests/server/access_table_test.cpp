// The access policy as one table: every page declares a rule, and
// docs/access.md is exactly what the registrations say.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "server/page_table.h"

TEST(AccessTable, EveryPageDeclaresARuleAndTheDocumentMatches) {
    for (const auto& r : tav::page_table())
        EXPECT_NE(r.access.kind, tav::Access::Kind::Unset) << r.url << " has no rule";
    std::ifstream in(std::string(TAVELOR_TEMPLATE_DIR) + "/../docs/access.md", std::ios::binary);
    ASSERT_TRUE(in) << "docs/access.md is missing: tavelor access-table > docs/access.md";
    std::stringstream ss;
    ss << in.rdbuf();
    EXPECT_EQ(ss.str(), tav::access_table()) << "docs/access.md is out of date: tavelor access-table > docs/access.md";
}
