// The personal ledger: rows added, changed and deleted through one save page
// by their owner only; a list whose count looks at the wrong column and whose bar
// belongs to the guest book.
#include "tests/support/page_test.h"

using namespace tav::test;

namespace {

struct Ledger {
    TestSite site;
    std::string me;
    Ledger() {
        me = add_user(site, "keeper");
        EXPECT_TRUE(site.login("keeper", "pw"));
    }
    Reply save(const std::string& id, const std::string& title, const std::string& text, const std::string& money) {
        return site.get("Record_Save.asp?id=" + id + "&Rec_Title=" + form_encode(title) +
                        "&Rec_Text=" + form_encode(text) + "&Rec_money=" + form_encode(money));
    }
    std::string row(const std::string& id, const std::string& col) {
        return site.scalar("select " + col + " from Record where id=" + id, col);
    }
    std::string last_id() { return site.scalar("select max(id) as m from Record", "m"); }
    std::string rows() { return site.scalar("select count(*) as n from Record", "n"); }
    // Rows of the account with dates one day apart, the first the oldest.
    void add_rows(int n, const std::string& uid) {
        for (int i = 1; i <= n; ++i)
            site.exec("insert into Record(user_id,Rec_title,Rec_text,Rec_money,Rec_date) values (" + uid + ",'t" +
                      std::to_string(i) + "','x',1,'2026-01-" + (i < 10 ? "0" : "") + std::to_string(i) + " 08:00:00')");
    }
};

}  // namespace

TEST(Ledger, SavingAddsChangesAndDeletesOnlyWithTheExactWordDel) {
    Ledger l;
    Reply r = l.save("", " 午餐 ", " 和同事 ", " 35.5 ");
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=增加新记录成功！&next_href=Record_list.asp");
    std::string id = l.last_id();
    EXPECT_EQ(rows_of(l.site, "Record", "user_id,Rec_title,Rec_text,Rec_money"), l.me + "|午餐|和同事|35.5|\n");
    EXPECT_FALSE(l.row(id, "Rec_date").empty());

    struct Step { const char* title; const char* message; bool kept; };
    for (const Step& s : std::vector<Step>{{"DEL", "此记录已经被你修改！", true},
                                           {"Del", "此记录已经被你修改！", true},
                                           {" del ", "删除记录成功！", false}}) {  // trimmed first
        EXPECT_EQ(l.save(id, s.title, "t", "1").location(),
                  std::string("Pop_OK.asp?message=") + s.message + "&next_href=Record_list.asp") << s.title;
        EXPECT_EQ(rows_of(l.site, "Record", "Rec_title"), s.kept ? s.title + std::string("|\n") : "") << s.title;
    }
    // The word deletes nothing on a new row: it is stored as a subject.
    // An empty text stays empty (never "无"), an empty amount is 0.
    l.save("", "del", "", "");
    EXPECT_EQ(rows_of(l.site, "Record", "Rec_title,Rec_text,Rec_money"), "del||0|\n");
    // Another account's change and delete report as always and touch
    // nothing; its form finds no such row.
    add_user(l.site, "other");
    ASSERT_TRUE(l.site.login("other", "pw"));
    std::string theirs = l.last_id();
    EXPECT_EQ(l.save(theirs, "改了", "x", "2").location(),
              "Pop_OK.asp?message=此记录已经被你修改！&next_href=Record_list.asp");
    EXPECT_EQ(l.save(theirs, "del", "", "").location(), "Pop_OK.asp?message=删除记录成功！&next_href=Record_list.asp");
    EXPECT_EQ(l.row(theirs, "Rec_title"), "del");
    EXPECT_EQ(l.rows(), "1");
    EXPECT_TRUE(has(l.site.get("Record_write.asp?id=" + theirs).body, "Routine : recordwrite.I_init"));
}

TEST(Ledger, AnAmountThatIsNoNumberOrAQuoteEndsInTheReport) {
    Ledger l;
    for (auto [title, money] : std::vector<std::pair<std::string, std::string>>{
             {"a", "12元"}, {"a", "1,000"}, {"it's", "1"}, {"a", "1 or 1=1"}})
        EXPECT_TRUE(has(l.save("", title, "x", money).body, "Routine : recordsave.I_init")) << title << " " << money;
    EXPECT_EQ(l.rows(), "0");
}

TEST(Ledger, TheListShowsTheTenNewestOnOnePageWithTheGuestBooksBar) {
    Ledger l;
    l.add_rows(11, l.me);
    l.add_rows(2, add_user(l.site, "other"));
    std::string body = l.site.get("Record_List.asp").body;
    EXPECT_EQ(count(body, "title=\"查看或修改此记录\""), 10);
    // the oldest falls off with no way to it
    expect_texts(body, {">t11</a>"}, {">t1</a>"});
    EXPECT_LT(body.find(">t11</a>"), body.find(">t10</a>"));
    EXPECT_EQ(count(body, "<option value="), 1);
    // one page: no active link
    expect_texts(body, {"页/共1页", "action=\"Book_list.asp\""}, {"href=\"Book_list.asp?p="});

    // A page given by hand: serials count on, and the links lead to the guest book.
    body = l.site.get("Record_list.asp?p=1").body;
    expect_texts(body, {"<td>11</td>", ">t1</a>", "href=\"Book_list.asp?p=0\""});
    EXPECT_EQ(count(body, "<tr height=\"26\"><td>\xE3\x80\x80</td>"), 9);
}

TEST(Ledger, TheCountLooksAtTheRowNumberAndChangesNothingVisible) {
    Ledger l;
    // Rows of another account whose ids reach the keeper's account id.
    std::string other = add_user(l.site, "other");
    l.add_rows(std::stoi(l.me) + 1, other);
    ASSERT_EQ(l.site.scalar("select count(id) as num from Record where id=" + l.me, "num"), "1");
    l.add_rows(3, l.me);
    std::string body = l.site.get("Record_List.asp").body;
    EXPECT_TRUE(has(body, "页/共1页"));
    EXPECT_EQ(count(body, "title=\"查看或修改此记录\""), 3);
}

TEST(Ledger, ANoteOfJustTheWordNoneShowsWithoutALink) {
    Ledger l;
    struct Case { const char* text; bool linked; };
    for (const Case& k : std::vector<Case>{{"无", false}, {"无事", true}, {"", true}, {" 无", true}}) {
        l.site.exec("delete from Record");
        l.site.exec(std::string("insert into Record(user_id,Rec_title,Rec_text,Rec_money) values (") + l.me +
                    ",'s','" + k.text + "',1)");
        std::string body = l.site.get("Record_List.asp").body;
        EXPECT_EQ(has(body, "<a href=\"Record_text.asp?id=" + l.last_id() + "\">" + k.text + "</a>"), k.linked) << k.text;
        if (!k.linked) {
            EXPECT_TRUE(has(body, std::string("<td>") + k.text + "</td>")) << k.text;
        }
    }
}

TEST(Ledger, TheFormCarriesTheIdUnquoted) {
    Ledger l;
    l.save("", "车费", "出差", "120");
    std::string id = l.last_id();
    expect_texts(l.site.get("Record_write.asp?id=" + id).body,
                 {"修改本记录", "<input type=\"hidden\" name=\"id\" value=" + id + ">", "class=\"small1\">出差</textarea>"});
    EXPECT_TRUE(has(l.site.get("Record_Write.asp").body, "<input type=\"hidden\" name=\"id\" value=>"));
}
