// The card case (cards of one account, read, edited and deleted by that
// account only) and the staff directory of all accounts.
#include "tests/support/page_test.h"

using namespace tav::test;

namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

const std::string kFillerRow = "<tr height=\"26\"><td>\xE3\x80\x80</td>";

struct Cards {
    TestSite site;
    std::string me;
    Cards() {
        me = add_user(site, "owner");
        EXPECT_TRUE(site.login("owner", "pw"));
    }
    Reply add(const Fields& extra) {
        Fields f = {{"Append", "Yes"}};
        f.insert(f.end(), extra.begin(), extra.end());
        return site.post_form("Address_EditDo.asp", f);
    }
    std::string card(const std::string& id, const std::string& col) {
        return site.scalar("select " + col + " from Address where id=" + id, col);
    }
    std::string last_id() { return site.scalar("select max(id) as m from Address", "m"); }
    void add_rows(const std::string& uid, int n) {
        for (int i = 0; i < n; ++i)
            site.exec("insert into Address(User_id,Name,Work,Telphone,Mobile,Sex,Email) values (" + uid + ",'card" +
                      std::to_string(i) + "','w','t','m','男','e')");
    }
};

}  // namespace

TEST(AddressBook, ANewCardWithOnlyANameGetsTheFillInsAndShowsAsAWoman) {
    Cards c;
    Reply r = c.add({{"Name", " 张三 "}, {"Work", ""}, {"Telphone", " "}, {"Mobile", ""}, {"Email", ""}});
    EXPECT_EQ(r.status, 302);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=新名片添加成功!&next_href=Address_list.asp");
    std::string id = c.last_id();
    // No sex posted: stored as it came.
    EXPECT_EQ(rows_of(c.site, "Address", "User_id,Name,Work,Mobile,Email,Sex"), c.me + "|张三|待业|13*| ||\n");
    EXPECT_EQ(c.card(id, "Telphone").size(), 5u);
    EXPECT_EQ(c.card(id, "Telphone").back(), '*');

    // the blank trimmed away
    expect_texts(c.site.get("Address_edit.asp?id=" + id).body,
                 {"value=\"女\" checked", "name=\"Email\" maxlength=\"50\" value=\"\"", "name=\"Append\" value=\"No\">"},
                 {"value=\"男\" checked"});
    expect_texts(c.site.get("Address_Edit.asp").body, {"value=\"女\" checked", "name=\"Append\" value=\"Yes\">"});

    std::string list = c.site.get("Address_list.asp").body;
    expect_texts(list, {"<td>张三</td><td></td><td>待业</td>", "Address_edit.asp?id=" + id, "Address_delete.asp?id=" + id});
    EXPECT_EQ(count(list, kFillerRow), 9);
}

TEST(AddressBook, EditsChangeOnlyTheOwnCardAndABlankedFieldTakesItsFillIn) {
    Cards c;
    c.add({{"Name", "李四"}, {"Sex", "男"}, {"Work", "审计局"}, {"Mobile", "13900000000"}});
    std::string id = c.last_id();
    EXPECT_TRUE(has(c.site.get("Address_edit.asp?id=" + id).body, "value=\"男\" checked"));

    const Fields change = {{"Append", "No"}, {"id", id},     {"Name", "李四改"},   {"Sex", "女"},
                           {"Work", ""},      {"Mobile", ""}, {"Email", "a@b.cn"}};
    // Another account's change reports as always and changes nothing.
    add_user(c.site, "other");
    ASSERT_TRUE(c.site.login("other", "pw"));
    Reply r = c.site.post_form("Address_EditDo.asp", change);
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=名片修改成功！&next_href=Address_list.asp");
    EXPECT_EQ(c.card(id, "Name"), "李四");
    // The owner's change takes the fill-ins.
    ASSERT_TRUE(c.site.login("owner", "pw"));
    c.site.post_form("Address_EditDo.asp", change);
    EXPECT_EQ(rows_of(c.site, "Address", "Name,User_id,Work,Mobile,Email"), "李四改|" + c.me + "|待业|13*|a@b.cn|\n");
}

TEST(AddressBook, ListsOnlyTheOwnCardsTenToAPageWithIntArithmetic) {
    struct Case { int cards; long long p; int shown; int pages; };
    for (const Case& k : std::vector<Case>{{0, 0, 0, 1}, {10, 0, 10, 2}, {10, 1, 0, 2}, {11, 1, 1, 2},
                                           {25, 2, 5, 3}, {25, -1, 10, 3}, {25, 7, 0, 3}}) {
        Cards c;
        c.add_rows(c.me, k.cards);
        c.add_rows(add_user(c.site, "stranger"), 3);
        std::string body = c.site.get("Address_list.asp?p=" + std::to_string(k.p)).body;
        std::string where = std::to_string(k.cards) + " cards, p=" + std::to_string(k.p);
        EXPECT_EQ(count(body, "Address_delete.asp?id="), k.shown) << where;
        EXPECT_EQ(count(body, kFillerRow), 10 - k.shown) << where;
        EXPECT_TRUE(has(body, "页/共" + std::to_string(k.pages) + "页")) << where;
    }
}

TEST(AddressBook, TheDeleteQuestionNamesTheCardAndTheDeletionAlwaysReportsSuccess) {
    Cards c;
    c.add({{"Name", "王五"}});
    std::string id = c.last_id();
    expect_texts(c.site.get("Address_delete.asp?id=" + id).body, {"您确信要删除联系人：王五 吗？", "name=\"ID\" value=\"" + id + "\""});

    for (int round = 0; round < 2; ++round) {  // the second time there is nothing left to delete
        Reply r = c.site.post_form("Address_Del_True.asp", {{"ID", id}});
        EXPECT_EQ(r.location(), "Pop_OK.asp?message=删除成功！&next_href=Address_List.asp");
        EXPECT_EQ(c.site.scalar("select count(*) as n from Address", "n"), "0");
    }
    // A card that is gone: the question fails on reading its name.
    EXPECT_TRUE(has(c.site.get("Address_delete.asp?id=" + id).body, "Routine : addressdelete.I_init"));
    EXPECT_TRUE(has(c.site.get("Address_Edit.asp?id=" + id).body, "Routine : addressedit.I_init"));
}

TEST(AddressBook, BrokenStatementsEndInTheReportAndStoreNothing) {
    for (const Fields& f : {Fields{{"Append", "Yes"}, {"Name", "O'Brien"}},  // quote in a text
                            Fields{{"Append", "No"}, {"Name", "x"}}}) {      // update without id
        Cards c;
        Reply r = c.site.post_form("Address_EditDo.asp", f);
        EXPECT_EQ(r.status, 200);
        EXPECT_TRUE(has(r.body, "Routine : addresseditdo.I_init")) << r.body;
        EXPECT_EQ(c.site.scalar("select count(*) as n from Address", "n"), "0");
    }
}

TEST(StaffDirectory, EveryAccountByNameWithItsDepartmentOrAGoneOne) {
    TestSite site;
    site.login();  // the administrator holds the directory's right
    site.exec("insert into DepartMent(name) values ('临时组')");
    std::string dept = site.scalar("select max(id) as m from DepartMent", "m");
    add_user(site, "zz_last", "", "pw", "末位");
    add_user(site, "aa_first", "", "pw", "首位");
    site.exec("update user set DepartMentID=" + dept + ",IDCard='330100',Telphone='0571-1' where username='aa_first'");
    site.exec("delete from DepartMent where id=" + dept);

    std::string body = site.get("User_address.asp").body;
    expect_texts(body, {"内部职工通讯录", "<td>首位</td><td>已删除部门</td><td></td><td>0571-1</td><td></td><td></td><td>330100</td>"});
    EXPECT_LT(body.find("首位"), body.find("系统管理员"));
    EXPECT_LT(body.find("系统管理员"), body.find("末位"));
    // Filler rows carry eight cells under seven columns.
    std::string eight = "<tr height=\"26\">";
    for (int i = 0; i < 8; ++i) eight += "<td>\xE3\x80\x80</td>";
    EXPECT_TRUE(has(body, eight + "</tr>"));
    EXPECT_EQ(count(body, kFillerRow), 7);

    for (int i = 0; i < 8; ++i) add_user(site, std::string("u").append(std::to_string(i)));
    body = site.get("User_address.asp?p=1").body;  // 11 accounts: the second page holds one
    EXPECT_EQ(count(body, kFillerRow), 9);
    EXPECT_TRUE(has(body, "<td>末位</td>"));
}
