// The data centre list's search: the rows shown are those of the plain like
// statement of the category, for every kind of term, hostile ones included.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/datacentre/data_site.h"
#include "tests/support/pages.h"

using namespace tav::test;

TEST(DataSearch, RowsOfThePlainLikeAfterEveryChange) {
    AdminSite site;
    const char* titles[] = {"年度审计报告", "Audit 50% report", "AUDIT_report v2", "审计", "école",
                            "École",        "</script>",        "a_b%c",           "报告会"};
    int n = 0;
    for (const char* t : titles) add_item(site, "3102", t, "1", "0", "2026-01-0" + std::to_string(++n) + " 09:00:00");
    add_item(site, "3103", "年度审计报告 other category");
    const std::vector<std::string> terms = {
        "审", "a", "%", "_", "审计", "Au", "年度审", "审计报告", "audit", "AUDIT", "t 50%", "T_r", "%re", "b%c",
        "'审'计'", "École", "école", "</script>", "报告会", "other", std::string(20000, 'x'), "x' or '1'='1",
        "../../etc", "'''", "zzz"};
    auto expected = [&](std::string t) {
        std::erase(t, '\'');
        std::string out;
        for (auto rs = site.query("select id from Datas where Sub_menu='3102' and D_title like '%" + t +
                                  "%' order by D_date DESC limit 11");
             !rs.eof(); rs.movenext())
            out += rs("id").str() + ",";
        return out;
    };
    auto check = [&](const char* when) {
        for (const std::string& t : terms) {
            auto r = site.get("Data_list.asp?sub_menu=3102&sstr=" + form_encode(t));
            EXPECT_EQ(linked_ids(r.body, "Data_read.asp?id="), expected(t)) << when << ": " << t.substr(0, 40);
            EXPECT_FALSE(has(r.body, " Error ")) << t.substr(0, 40);
        }
    };
    check("inserted");
    site.exec("update Datas set D_title='审计之后' where D_title='年度审计报告'");
    site.exec("update Datas set Sub_menu='3102' where Sub_menu='3103'");
    site.exec("delete from Datas where D_title like 'AUDIT%'");
    check("changed");
    EXPECT_EQ(linked_ids(site.get("Data_list.asp?sub_menu=3102&sstr=audit").body, "Data_read.asp?id="), "");
}
