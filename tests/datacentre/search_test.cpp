// The data centre list's search: the rows shown are those of the plain like
// statement of the category, for every kind of term, hostile ones included.
#include "tests/support/page_test.h"

#include "tests/datacentre/data_site.h"

using namespace tav::test;

TEST(DataSearch, RowsOfThePlainLikeAfterEveryChange) {
    AdminSite site;
    const char* titles[] = {"年度审计报告", "Audit 50% report", "AUDIT_report v2", "审计", "école",
                            "École",        "</script>",        "a_b%c",           "报告会"};
    int n = 0;
    for (const char* t : titles) add_item(site, "3102", t, "1", "0", "2026-01-0" + std::to_string(++n) + " 09:00:00");
    add_item(site, "3103", "年度审计报告 other category");
    // A term in more rows than the text index hands over is read in the
    // list's order instead; older, so the first page is read past them.
    for (int from = 1; from <= 2100; from += 300) {
        std::string rows;
        for (int i = from; i < from + 300; ++i) {
            if (!rows.empty()) rows += ',';
            rows += "(1, 'Common 常见 " + std::to_string(i) + "', '3102', datetime('2025-01-01', '+" +
                    std::to_string(i) + " minutes'))";
        }
        site.exec("insert into Datas(User_id, D_title, Sub_menu, D_date) values " + rows);
    }
    const std::vector<std::string> terms = {
        "审", "a", "%", "_", "审计", "Au", "年度审", "审计报告", "audit", "AUDIT", "t 50%", "T_r", "%re", "b%c",
        "'审'计'", "École", "école", "</script>", "报告会", "other", std::string(20000, 'x'), "x' or '1'='1",
        "../../etc", "'''", "zzz", "common", "mon 常见 20", "常见 21%", "on_常"};
    auto expected = [&](std::string t) {
        std::erase(t, '\'');
        const std::string cond = "Sub_menu='3102' and D_title like '%" + t + "%'";
        std::string out;
        for (auto rs = site.query("select id from Datas where " + cond + " order by D_date DESC limit 11"); !rs.eof();
             rs.movenext())
            out += rs("id").str() + ",";
        const long long n = std::stoll(site.scalar("select count(*) as n from Datas where " + cond, "n"));
        return out + " 页/共" + std::to_string(n / 10 + 1) + "页";
    };
    auto check = [&](const char* when) {
        for (const std::string& t : terms) {
            auto r = site.get("Data_list.asp?sub_menu=3102&sstr=" + form_encode(t));
            const std::size_t pages = r.body.find("页/共");
            const std::string shown = linked_ids(r.body, "Data_read.asp?id=") + " " +
                                      r.body.substr(pages, r.body.find("页", pages + 4) + 3 - pages);
            EXPECT_EQ(shown, expected(t)) << when << ": " << t.substr(0, 40);
            EXPECT_FALSE(has(r.body, " Error ")) << t.substr(0, 40);
        }
    };
    check("inserted");
    site.exec("update Datas set D_title='审计之后' where D_title='年度审计报告'");
    site.exec("update Datas set Sub_menu='3102' where Sub_menu='3103'");
    site.exec("delete from Datas where D_title like 'AUDIT%'");
    site.exec("delete from Datas where D_title like 'Common 常见 1%'");
    check("changed");
    EXPECT_EQ(linked_ids(site.get("Data_list.asp?sub_menu=3102&sstr=audit").body, "Data_read.asp?id="), "");
}
