// The shared page bar, run inside a request as a list page would use it.
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "frame/page.h"
#include "frame/pagebar.h"
#include "frame/vb.h"
#include "tests/support/page_runner.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

using namespace tav;
using tav::test::BodyPage;
using tav::test::TestSite;
using tav::test::has;
using tav::test::count;

namespace {

const bool registered = register_page("pagebartest", [] { return std::make_unique<BodyPage>("pagebartest"); });

unsigned read_p_line = 0;

std::string two(int i) { return (i < 10 ? "n0" : "n") + std::to_string(i); }

// Counts owner 77's rows for the bar and gets the page's rows: by the
// engine (fetch) or by reading all and skipping in memory.
Recordset& page_rows(BodyPage& page, PageBar& bar, bool fetch) {
    bar.count("select count(id) as num from Address where User_id=77");
    Recordset& rs = page.records();
    if (fetch) {
        rs = bar.fetch("select * from Address where User_id="_sql + 77 + " order by id");
    } else {
        rs = page.db().execute("select * from Address where User_id=77 order by id");
        bar.skip(rs);
    }
    return rs;
}

class PageBarTest : public ::testing::Test {
protected:
    // Rows n01..nN of owner 77, listed in id order (adds the missing ones).
    void rows(int n) {
        for (; made < n; ++made)
            site.exec("insert into Address(User_id,Name) values (77,'" + two(made + 1) + "')");
    }
    int made = 0;
    // A list page in the manner of the address list. Both ways of getting
    // the rows must write the same page, and fetch reads no more than it shows.
    std::string list(const std::string& query, PageBar::Options opt) {
        std::string fetched = list_by(query, opt, true);
        EXPECT_EQ(fetched, list_by(query, opt, false)) << query;
        return fetched;
    }
    std::string list_by(const std::string& query, PageBar::Options opt, bool fetch) {
        auto r = tav::test::run_body(site, "pagebartest", "/x.asp" + query, [opt, fetch](BodyPage& page) {
            page.dbI_init();
            PageBar bar(page, opt);
            read_p_line = __LINE__ + 1;
            bar.read_p();
            Recordset& rs = page_rows(page, bar, fetch);
            long n = 1;
            while (bar.within(n) && !rs.eof()) {
                Response.line("<tr><td>" + std::to_string(n + bar.offset()) + "</td><td>" + rs("Name") +
                              "</td></tr>");
                rs.movenext();
                ++n;
            }
            if (fetch) {
                EXPECT_TRUE(rs.eof()) << "fetch read rows the page does not show";
            }
            bar.fill_rows(n, 2);
            Response.line("</table>");
            bar.write_bar("<input type=\"button\" value=\"新增名片\">");
        });
        return r.body;
    }
    static PageBar::Options address() {
        return {.url = "Address_list.asp", .size = 10, .limit = 10, .row_height = 26, .carry = {}};
    }
    static int fillers(const std::string& body) { return count(body, "<tr height=\"26\">"); }
    TestSite site;
};

}  // namespace

// The bar as a user meets it: where each arrow leads ("-" when it is no
// link), the pages offered with the selected one, the total and the rows.
std::string nav(const std::string& b) {
    std::string out;
    for (const char* arrow : {"first", "prev", "next", "last"}) {
        std::size_t img = b.find(std::string("<img src=\"images/") + arrow + ".gif\"");
        std::size_t open = b.rfind("<a href=\"", img), close = b.rfind("</a>", img);
        bool link = img != std::string::npos && open != std::string::npos &&
                    (close == std::string::npos || close < open);
        out += std::string(arrow) + "=" + (link ? b.substr(open + 9, b.find('"', open + 9) - open - 9) : "-") + " ";
    }
    std::size_t sel = b.find(" selected>");
    out += "at=" + (sel == std::string::npos ? std::string("-") : b.substr(sel + 10, b.find('<', sel) - sel - 10));
    std::size_t total = b.find("页/共");
    const std::size_t n = total + std::string("页/共").size();
    out += " of=" + (total == std::string::npos ? std::string("-") : b.substr(n, b.find("页", n) - n));
    return out;
}

TEST_F(PageBarTest, RowsFillersSelectionAndLinksByPage) {
    struct Case {
        int rows;
        std::string query;
        int fillers;
        std::string nav;
        std::string first, last;  // the first and last numbered row shown
    };
    const std::string a = "Address_list.asp?p=";
    const Case cases[] = {
        {0, "", 10, "first=- prev=- next=- last=- at=1 of=1", "", ""},
        // The last page number is the integer part, not a rounding up...
        {10, "", 0, "first=- prev=- next=" + a + "1 last=" + a + "1 at=1 of=2", "<td>1</td><td>n01</td>",
         "<td>10</td><td>n10</td>"},
        // ... so the second page holds filler rows only, and links back but not on.
        {10, "?p=1", 10, "first=" + a + "0 prev=" + a + "0 next=- last=- at=2 of=2", "", ""},
        {25, "?p=1", 0, "first=" + a + "0 prev=" + a + "0 next=" + a + "2 last=" + a + "2 at=2 of=3",
         "<td>11</td><td>n11</td>", "<td>20</td><td>n20</td>"},
        {25, "?p=2", 5, "first=" + a + "0 prev=" + a + "1 next=- last=- at=3 of=3", "<td>21</td><td>n21</td>",
         "<td>25</td><td>n25</td>"},
        // A negative p shows the first page.
        {25, "?p=-1", 0, "first=- prev=- next=" + a + "1 last=" + a + "2 at=1 of=3", "<td>1</td><td>n01</td>",
         "<td>10</td><td>n10</td>"},
        // The select sends P; the page reads p.
        {25, "?P=1", 0, "first=" + a + "0 prev=" + a + "0 next=" + a + "2 last=" + a + "2 at=2 of=3",
         "<td>11</td><td>n11</td>", "<td>20</td><td>n20</td>"},
        // Past the last page: filler rows only, nothing selected.
        {25, "?p=5", 10, "first=" + a + "0 prev=" + a + "4 next=- last=- at=- of=3", "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.rows) + c.query);
        rows(c.rows);
        std::string b = list(c.query, address());
        EXPECT_EQ(nav(b), c.nav);
        EXPECT_EQ(fillers(b), c.fillers) << b;
        if (!c.first.empty()) {
            EXPECT_TRUE(has(b, c.first) && has(b, c.last)) << b;
        }
        EXPECT_EQ(count(b, "<tr><td>"), 10 - c.fillers);
        EXPECT_FALSE(has(b, " Error "));
        EXPECT_EQ(count(b, "</a>"), 4);  // written even where no link opened
        // The form around the page's own buttons and the bar, and the script that submits it.
        std::size_t form = b.find("<form action=\"Address_list.asp\" method=\"get\" name=\"myform\">");
        ASSERT_NE(form, std::string::npos) << b;
        EXPECT_TRUE(form < b.find("新增名片") && b.find("新增名片") < b.find("images/first.gif")) << b;
        EXPECT_TRUE(has(b, "<select name=\"P\" style=\"font-size:9pt\" Onchange=\"change_sort()\">"));
        EXPECT_LT(b.find("</form>"), b.find("function change_sort(){"));
        EXPECT_TRUE(has(b, "document.myform.submit();") && b.ends_with("</script>\r\n"));
        EXPECT_FALSE(has(b, "type=\"hidden\""));  // nothing to carry
    }
}

// Above 200 pages the box holds the first 10, the 100 around the current
// page and the last 10; at 200 or fewer, every page.
TEST_F(PageBarTest, TheBoxAboveTwoHundredPagesListsAWindow) {
    PageBar::Options two_a_page = address();
    two_a_page.size = 2;
    auto listed = [](const std::string& body) {
        std::vector<int> pages;
        for (std::size_t i = body.find("<option value=\""); i != std::string::npos;
             i = body.find("<option value=\"", i + 1))
            pages.push_back(std::stoi(body.substr(i + 15)));
        return pages;
    };
    // The page numbers of the spans [from, to], in order.
    auto spans = [](std::initializer_list<std::pair<int, int>> list) {
        std::vector<int> r;
        for (auto [from, to] : list)
            for (int i = from; i <= to; ++i) r.push_back(i);
        return r;
    };
    rows(398);  // Int(398 / 2) = 199: 200 pages, all listed
    EXPECT_EQ(listed(list("?p=120", two_a_page)), spans({{0, 199}}));
    rows(450);  // 226 pages
    EXPECT_EQ(listed(list("?p=100", two_a_page)), spans({{0, 9}, {50, 149}, {216, 225}}));
    EXPECT_EQ(listed(list("?p=0", two_a_page)), spans({{0, 49}, {216, 225}}));
    EXPECT_EQ(listed(list("?p=220", two_a_page)), spans({{0, 9}, {170, 225}}));
    std::string b = list("?p=100", two_a_page);
    EXPECT_TRUE(has(b, "<option value=\"100\" selected>101</option>"));
    EXPECT_TRUE(has(b, "页/共226页"));
}

TEST_F(PageBarTest, PThatIsNoNumberGivesTheStandardReport) {
    rows(3);
    std::string b = list("?p=abc", address());
    EXPECT_EQ(b.rfind(" Error ", 0), 0u) << b;
    // Reported under the page, at the line of the call in the page.
    EXPECT_TRUE(has(b, " LINE" + std::to_string(read_p_line) + " Routine : pagebartest.I_init")) << b;
    EXPECT_FALSE(has(b, "n01"));
    EXPECT_FALSE(has(b, "myform"));
}

TEST_F(PageBarTest, DataListRepeatsTheLastRowAndCarriesItsParameters) {
    rows(25);
    PageBar::Options data{.url = "Data_list.asp", .size = 10, .limit = 11, .row_height = 26,
                          .carry = {{"Sub_menu", "3110"}, {"sstr", "报告"}}};
    const std::string d = "Data_list.asp?p=", carried = "&Sub_menu=3110&sstr=报告";
    std::string b = list("?p=0", data);
    EXPECT_TRUE(has(b, "<td>11</td><td>n11</td>")) << b;
    EXPECT_FALSE(has(b, "n12"));
    EXPECT_EQ(nav(b), "first=- prev=- next=" + d + "1" + carried + " last=" + d + "2" + carried + " at=1 of=3");
    EXPECT_TRUE(has(b, "<input type=\"hidden\" name=\"Sub_menu\" value=\"3110\">"));
    EXPECT_TRUE(has(b, "<input type=\"hidden\" name=\"sstr\" value=\"报告\">"));
    EXPECT_LT(b.find("name=\"sstr\""), b.find("</form>"));
    // The next page starts again with the row that ended this one.
    b = list("?p=1", data);
    EXPECT_TRUE(has(b, "<td>11</td><td>n11</td>") && has(b, "<td>21</td><td>n21</td>")) << b;
    EXPECT_FALSE(has(b, "n22"));
    EXPECT_EQ(nav(b), "first=" + d + "0" + carried + " prev=" + d + "0" + carried + " next=" + d + "2" + carried +
                          " last=" + d + "2" + carried + " at=2 of=3");
    // Short last page: 5 rows, filled up to eleven.
    EXPECT_EQ(fillers(list("?p=2", data)), 6);
}

// The media list writes its own hidden fields and a search box in the bar's
// form; its rows (two items a row) are the page's own.
TEST_F(PageBarTest, OwnHiddenFieldsAndAFormTail) {
    rows(25);
    const std::string b = tav::test::run_body(site, "pagebartest", "/x.asp?p=1", [](BodyPage& page) {
        page.dbI_init();
        PageBar bar(page, {.url = "Medium_list.asp", .size = 20, .limit = 10, .row_height = 26,
                           .carry = {{"sstr", ""}, {"file_type", "mp3"}, {"PY", "A"}},
                           .own_hidden = true,
                           .hidden = {{"File_type", "mp3"}, {"PY", "A"}}});
        bar.read_p();
        page_rows(page, bar, true);
        bar.open_bar("<input type=\"button\" value=\"播放选中\">");
        bar.write_nav();
        bar.close_bar("<input name=\"sstr\" type=\"text\" size=\"12\" value=\"\">");
        bar.write_script();
    }).body;
    const std::string m = "Medium_list.asp?p=0&sstr=&file_type=mp3&PY=A";
    EXPECT_EQ(nav(b), "first=" + m + " prev=" + m + " next=- last=- at=2 of=2");
    EXPECT_TRUE(has(b, "<input type=\"hidden\" name=\"File_type\" value=\"mp3\">"));
    EXPECT_TRUE(has(b, "<input type=\"hidden\" name=\"PY\" value=\"A\">"));
    EXPECT_FALSE(has(b, "type=\"hidden\" name=\"sstr\""));
    EXPECT_LT(b.find("images/last.gif"), b.find("name=\"sstr\" type=\"text\""));
    EXPECT_LT(b.find("name=\"sstr\" type=\"text\""), b.find("</form>"));
}
