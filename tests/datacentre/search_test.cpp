// The data centre list's search: the rows shown are those of the plain like
// statement of the category, for every kind of term.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "tests/datacentre/data_site.h"
#include "tests/support/text.h"

using tav::test::add_item;
using tav::test::form_encode;
using tav::test::has;
using tav::test::TestSite;

namespace {

std::string listed(const std::string& body) {
    std::string out;
    static const std::regex id("Data_read\\.asp\\?id=([0-9]+)");
    for (auto it = std::sregex_iterator(body.begin(), body.end(), id); it != std::sregex_iterator(); ++it)
        out += (*it)[1].str() + ",";
    return out;
}

std::string expected(TestSite& site, const std::string& term) {
    std::string t = term;
    std::erase(t, '\'');
    std::string out;
    for (auto rs = site.query("select id from Datas where Sub_menu='3102'  and D_title like '%" + t +
                              "%' order by D_date DESC limit 11");
         !rs.eof(); rs.movenext())
        out += rs("id").str() + ",";
    return out;
}

TEST(DataSearch, RowsOfThePlainLikeAfterEveryChange) {
    TestSite site;
    ASSERT_TRUE(site.login());
    const char* titles[] = {"年度审计报告", "Audit 50% report", "AUDIT_report v2", "审计", "école",
                            "École",        "</script>",        "a_b%c",           "报告会"};
    int n = 0;
    for (const char* t : titles) {
        ++n;
        add_item(site, "3102", t, "1", "0", "2026-01-" + std::string(n < 10 ? "0" : "") + std::to_string(n) + " 09:00:00");
    }
    add_item(site, "3103", "年度审计报告 other category");
    const std::vector<std::string> terms = {"审", "a", "%", "_", "审计", "Au", "年度审", "审计报告", "audit",
                                            "AUDIT", "t 50%", "T_r", "%re", "b%c", "'审'计'", "École", "école",
                                            "</script>", "报告会", "other"};
    auto check = [&](const char* when) {
        for (const std::string& t : terms) {
            auto r = site.get("Data_list.asp?sub_menu=3102&sstr=" + form_encode(t));
            EXPECT_EQ(listed(r.body), expected(site, t)) << when << ": " << t;
            EXPECT_FALSE(has(r.body, " Error ")) << t;
        }
    };
    check("inserted");
    site.exec("update Datas set D_title='审计之后' where D_title='年度审计报告'");
    site.exec("update Datas set Sub_menu='3102' where Sub_menu='3103'");
    site.exec("delete from Datas where D_title like 'AUDIT%'");
    check("changed");
    EXPECT_EQ(listed(site.get("Data_list.asp?sub_menu=3102&sstr=audit").body), "");
}

TEST(DataSearch, HostileTermsGiveThePagesAnswer) {
    TestSite site;
    ASSERT_TRUE(site.login());
    add_item(site, "3102", "x");
    for (const std::string& t : {std::string(20000, 'x'), std::string("x' or '1'='1"),
                                 std::string("\"><script>alert(1)</script>"), std::string("../../etc")}) {
        auto r = site.get("Data_list.asp?sub_menu=3102&sstr=" + form_encode(t));
        EXPECT_EQ(r.status, 200);
        EXPECT_FALSE(has(r.body, " Error "));
        EXPECT_FALSE(has(r.body, "<script>alert"));
        EXPECT_EQ(listed(r.body), expected(site, t)) << t.substr(0, 40);
    }
}

}  // namespace
