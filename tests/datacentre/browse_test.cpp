// The home page, the list with its paging and search, the buttons of the
// read page, and the lock.
#include "tests/support/page_test.h"

#include "tests/datacentre/data_site.h"

using namespace tav::test;

namespace {

std::string date(int n) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "2026-01-%02d 09:00:00", n);
    return buf;
}

}  // namespace

TEST(DataList, ElevenRowsAPageWithAStrideOfTen) {
    AdminSite site;
    for (int n = 1; n <= 11; ++n) add_item(site, "3102", "条目" + std::to_string(n), "1", "0", date(n));
    auto r = site.get("Data_list.asp?sub_menu=3102");
    for (int n = 1; n <= 11; ++n) EXPECT_TRUE(has(r.body, ">条目" + std::to_string(n) + "<")) << n;
    expect_texts(r.body, {"工作动态 ->> 工作简报", "<td>11</td>"});
    // Newest first, so the oldest item is the eleventh row, and again the first of page 1.
    r = site.get("Data_list.asp?sub_menu=3102&p=1");
    expect_texts(r.body, {">条目1<", "<td>11</td>", "页/共2页"}, {">条目2<"});
    // Beyond the end: blank rows only; a negative page is page 0.
    EXPECT_FALSE(has(site.get("Data_list.asp?sub_menu=3102&p=5").body, "Data_read.asp?id="));
    EXPECT_TRUE(has(site.get("Data_list.asp?sub_menu=3102&p=-3").body, ">条目11<"));
}

TEST(DataList, AuthorsAttachmentsAndTheDefaultCategory) {
    AdminSite site;
    std::string gone = add_user(site, "gone", "", "pw", "离开者");
    add_item(site, "3110", "年度审计报告", "1", "57report.doc", date(2));
    add_item(site, "3110", "会议通知", gone, "0", date(3));
    site.exec("delete from user where id=" + gone);
    // No category named: 3110's items, with the author gone and the attachments marked.
    auto r = site.get("Data_list.asp");
    expect_texts(r.body, {"年度审计报告", "会议通知", "<td>已删除</td>", "<td>有</td>", "<td>无</td>"}, {" Error "});
    // The search text travels with the page bar.
    r = site.get("Data_list.asp?sstr=" + form_encode("报告"));
    EXPECT_TRUE(has(r.body, "<input type=\"hidden\" name=\"sstr\" value=\"报告\">"));
    // A category without a row has no name to show.
    site.exec("update user set menu_idstr=menu_idstr || ' 9999' where username='admin'");
    EXPECT_TRUE(has(site.get("Data_list.asp?sub_menu=9999").body, " Error "));
}

TEST(DataHome, SectionsByRightWithTheNewestSevenByNumber) {
    AdminSite site;
    // Two categories' items interleaved: each section has its own, newest
    // number first, and the short one blank rows after them.
    for (int n = 1; n <= 9; ++n) {
        add_item(site, "4102", "通知" + std::to_string(n), "1", "0", date(10 - n));
        if (n % 3 == 0) add_item(site, "4103", "新闻" + std::to_string(n), "1", "0", date(n));
    }
    auto r = site.get("data_home.asp");
    std::string shown;
    for (std::size_t at = 0; (at = r.body.find("target=\"file_win\">", at)) != std::string::npos;) {
        at += 18;
        shown += r.body.substr(at, r.body.find('<', at) - at) + " ";
    }
    EXPECT_EQ(shown, "通知9 通知8 通知7 通知6 通知5 通知4 通知3 新闻9 新闻6 新闻3 ");
    expect_texts(r.body, {"=>>更多通知公告...", "新闻3</a></td></tr>\r\n<tr><td height=\"20\">　</td></tr>",
                          "=>>更多单位新闻..."});
    EXPECT_EQ(count(r.body, "<tr><td height=\"20\">　</td></tr>"), 4);
    expect_texts(r.body, {}, {" Error ", "pop_note.asp"});
    // The reminder popup by the setting.
    site.exec("update software set Hardserial='1' where softname='pop_note'");
    EXPECT_TRUE(has(site.get("data_home.asp").body, "showModalDialog(\"pop_note.asp\""));

    // One section right only: one cell in the row; none: an empty table and the report.
    site.exec("update user set menu_idstr='4103' where username='admin'");
    r = site.get("data_home.asp");
    EXPECT_FALSE(has(r.body, "通知公告"));
    EXPECT_EQ(count(r.body, "<td width=\"50%\""), 1);
    site.exec("update user set menu_idstr='del' where username='admin'");
    r = site.get("data_home.asp");
    expect_texts(r.body, {"</table>", " Error "}, {"=>>更多"});
}

// Two accounts' sessions in turn, with no change to the database between
// them: each sees its own sections, and a new item shows at once.
TEST(DataHome, EachAccountSeesItsOwnSectionsAndTheNewestItems) {
    AdminSite site;
    add_user(site, "reader", "4103");
    add_item(site, "4102", "只给管理员", "1", "0", date(1));
    add_item(site, "4103", "人人可读", "1", "0", date(1));
    auto sign_in = [&](const std::string& user, const std::string& password) {
        site.forget_session();
        std::string cookie = site.get("/login.asp").header("Set-Cookie");
        std::string rotated =
            site.post_form("/loginverify.asp", {{"username", user}, {"password", password}}).header("Set-Cookie");
        if (!rotated.empty()) cookie = rotated;
        return cookie.substr(0, cookie.find(';'));
    };
    const std::string admin = sign_in("admin", "admin"), reader = sign_in("reader", "pw");
    auto home = [&](const std::string& cookie) {
        site.forget_session();
        tav::HttpRequest req;
        req.method = "GET";
        req.target = "/data_home.asp";
        req.headers.emplace_back("Cookie", cookie);
        return site.send(req).body;
    };
    for (int round = 0; round < 2; ++round) {
        expect_texts(home(admin), {">只给管理员<", ">人人可读<"});
        expect_texts(home(reader), {">人人可读<"}, {"只给管理员", "通知公告"});
    }
    add_item(site, "4103", "刚刚发布", "1", "0", date(2));
    expect_texts(home(reader), {">刚刚发布<", ">人人可读<"});
    expect_texts(home(admin), {">刚刚发布<", ">只给管理员<"});
}

TEST(DataRead, ButtonsByRightAuthorshipAndLock) {
    TestSite site;
    std::string author = add_user(site, "author", "i3102");
    add_user(site, "reader", "3102");
    add_user(site, "modeller", "model 3102");
    add_user(site, "deleter", "del 3102");
    std::string item = add_item(site, "3102", "一条", author, "0");
    std::string locked = add_item(site, "3102", "锁住", author, "0", date(2), "1");
    struct Case { const char* user; const std::string& id; bool change, lock, unlock; } cases[] = {
        {"author", item, true, false, false},    {"author", locked, false, false, false},
        {"reader", item, false, false, false},   {"reader", locked, false, false, false},
        {"deleter", item, true, true, false},    {"deleter", locked, false, false, true},
        {"modeller", item, true, true, false},   {"modeller", locked, false, false, true},
    };
    for (const Case& c : cases) {
        site.forget_session();
        ASSERT_TRUE(site.login(c.user, "pw"));
        auto r = site.get("Data_read.asp?id=" + c.id);
        SCOPED_TRACE(std::string(c.user) + " on " + c.id);
        expect_texts(r.body, {"value=\"返 回\""}, {" Error "});
        EXPECT_EQ(has(r.body, "Data_Del.asp?id=" + c.id), c.change);
        EXPECT_EQ(has(r.body, "Data_Input.asp?id=" + c.id), c.change);
        EXPECT_EQ(has(r.body, "Lock.asp?id=" + c.id), c.lock);
        EXPECT_EQ(has(r.body, "lock.asp?id=" + c.id), c.unlock);
    }
}

TEST(DataRead, PageAuditAndAttachments) {
    AdminSite site;
    std::string id = add_item(site, "3102", "带附件", "1", "5a.doc*5b 2.txt");
    site.exec("update Datas set D_text='<b>粗</b><script>alert(1)</script>' where id=" + id);
    auto r = site.get("Data_read.asp?id=" + id);
    expect_texts(r.body,
                 {"您目前在浏览：工作动态 ->> 工作简报", "<b>粗</b>", "href=\"./Datas/3102/5a.doc\">查看附件：5a.doc<",
                  "href=\"./Datas/3102/5b%202.txt\">查看附件：5b 2.txt<"},
                 {"<script>alert"});
    EXPECT_TRUE(has(site.scalar("select work_text from monitor order by id desc", "work_text"), "查阅: menu31 =>> 带附件"));
    // A category that is gone: the audit line stands, the page ends in the report.
    site.exec("update Datas set Sub_menu='3199' where id=" + id);
    site.exec("update user set menu_idstr=menu_idstr || ' 3199' where username='admin'");
    std::string audits = site.scalar("select count(*) as n from monitor", "n");
    EXPECT_TRUE(has(site.get("Data_read.asp?id=" + id).body, " Error "));
    EXPECT_EQ(std::stoi(site.scalar("select count(*) as n from monitor", "n")), std::stoi(audits) + 1);
}

TEST(DataLock, LockAndUnlockWithTheirMessages) {
    AdminSite site;
    std::string id = add_item(site, "3102", "保护");
    auto r = site.get("Lock.asp?id=" + id + "&k=lock&table=user");
    EXPECT_EQ(site.scalar("select lock from Datas where id=" + id, "lock"), "1");
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=记录上锁成功！&next_href=Data_read.asp?id=" + id);
    r = site.get("lock.asp?id=" + id + "&k=whatever");
    EXPECT_EQ(site.scalar("select lock from Datas where id=" + id, "lock"), "0");
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=记录解锁成功！&next_href=Data_read.asp?id=" + id);
    EXPECT_EQ(site.scalar("select count(*) as n from monitor where work_text like '保护: Datas 的ID号：" + id + "记录%'", "n"),
              "2");
}

