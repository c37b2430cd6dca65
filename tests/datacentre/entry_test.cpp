// The entry form, saving with attachments, the picture dialog's folder, and
// deletion.
#include "tests/support/page_test.h"

#include "tests/datacentre/data_site.h"

using namespace tav::test;

namespace {

std::string field_of(TestSite& site, const std::string& id, const std::string& col) {
    return site.scalar("select " + col + " from Datas where id=" + id, col);
}

std::string newest(TestSite& site) { return site.scalar("select max(id) as id from Datas", "id"); }

}  // namespace

TEST(DataEntry, NewItemsTakeTheNewestIdAsPrefix) {
    AdminSite site;
    // Empty table: prefix 0.
    auto r = post_item(site, "0", "3102", "第一条", "", "report.doc", "DOC1");
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=信息已经保存&next_href=Data_list.asp?Sub_menu=3102");
    std::string first = newest(site);
    EXPECT_EQ(rows_of(site, "Datas", "d_afile,D_text,lock,Main_menu"), "0report.doc|具体内容见附件：|0|menu31|\n");
    EXPECT_EQ(slurp(site.root() + "/Datas/3102/0report.doc"), "DOC1");
    site.exec("update Datas set id=57 where id=" + first);
    post_item(site, "0", "3102", "第二条", "<b>粗</b><font size=\"5\" color=\"#ff0000\">红</font><p>段</p>"
              "<img src=\"./Datas/menu31/a.gif\" onerror=\"alert(1)\"><script>alert(2)</script>", "report.doc", "DOC2");
    std::string second = newest(site);
    EXPECT_EQ(field_of(site, second, "d_afile"), "57report.doc");
    std::string text = field_of(site, second, "D_text");
    expect_texts(text,
                 {"<b>粗</b>", "<font size=\"5\" color=\"#ff0000\">红</font>", "src=\"./Datas/menu31/a.gif\""},
                 {"onerror", "script"});
    EXPECT_TRUE(has(site.scalar("select work_text from monitor order by id desc", "work_text"), "录入信息: 3102 =>>第二条"));
}

TEST(DataEntry, AClashingFileIsNotStoredAndTheItemGoesOn) {
    AdminSite site;
    std::filesystem::create_directories(site.root() + "/Datas/3102");
    std::ofstream(site.root() + "/Datas/3102/0same.doc") << "OLD";
    auto r = post_item(site, "0", "3102", "新条目", "", "same.doc", "NEW");
    EXPECT_EQ(r.location().rfind("Pop_OK.asp?message=信息已经保存", 0), 0u);
    std::string id = newest(site);
    EXPECT_EQ(rows_of(site, "Datas", "d_afile,D_text"), "0|具体内容见附件：|\n");
    EXPECT_EQ(slurp(site.root() + "/Datas/3102/0same.doc"), "OLD");

    // The same name again on a change of the item: the old file and name stay.
    post_item(site, id, "3102", "改一", "x", "v.doc", "V1");
    EXPECT_EQ(field_of(site, id, "d_afile"), id + "v.doc");
    post_item(site, id, "3102", "改二", "x", "v.doc", "V2");
    EXPECT_EQ(rows_of(site, "Datas", "d_afile,D_title"), id + "v.doc|改二|\n");
    EXPECT_EQ(slurp(site.root() + "/Datas/3102/" + id + "v.doc"), "V1");
    // Under another name the new file replaces the old one.
    r = post_item(site, id, "3102", "改三", "x", "w.doc", "W");
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=修改信息文件成功&next_href=Data_list.asp?Sub_menu=3102");
    EXPECT_EQ(field_of(site, id, "d_afile"), id + "w.doc");
    EXPECT_FALSE(exists(site, "Datas/3102/" + id + "v.doc"));
}

TEST(DataEntry, AChangeMovesTheItemAndItsAuthorButNotItsFile) {
    TestSite site;
    std::string other = add_user(site, "other", "i3103 del");
    ASSERT_TRUE(site.login());
    post_item(site, "0", "3102", "搬家", "正文", "m.doc", "M");
    std::string id = newest(site);
    std::string date = field_of(site, id, "D_date");
    site.forget_session();
    ASSERT_TRUE(site.login("other", "pw"));
    post_item(site, id, "3103", "搬家", "新正文", "", "");
    EXPECT_EQ(rows_of(site, "Datas", "Sub_menu,User_id,d_afile,D_date"), "3103|" + other + "|0m.doc|" + date + "|\n");
    EXPECT_TRUE(exists(site, "Datas/3102/0m.doc"));
    // A new file looks for the old one in the new folder, so the old one stays behind.
    post_item(site, id, "3103", "搬家", "x", "n.doc", "N");
    EXPECT_EQ(field_of(site, id, "d_afile"), id + "n.doc");
    EXPECT_TRUE(exists(site, "Datas/3102/0m.doc"));
}

TEST(DataEntry, BrokenPostsEndInTheReportWithNothingWritten) {
    AdminSite site;
    std::string before = rows_of(site, "Datas", "id,D_title,D_text,Sub_menu");
    auto r = post_item(site, "0", "3102", "It's mine", "text");
    EXPECT_TRUE(has(r.body, " Error ")) << r.body;
    EXPECT_FALSE(r.location().size());
    EXPECT_TRUE(has(post_item(site, "4242", "3102", "t", "x").body, " Error "));
    // A category value that is no category code (nor a folder name below Datas).
    for (const std::string bad : {"../user", "..", "a/b", "c:\\x"})
        EXPECT_EQ(post_item(site, "0", bad, "t", "x", "p.doc", "P").status, 403) << bad;
    EXPECT_EQ(rows_of(site, "Datas", "id,D_title,D_text,Sub_menu"), before);
    EXPECT_FALSE(exists(site, "user/0p.doc"));
}

TEST(DataEntry, FormOffersTheEntryRightsAndSetsThePictureFolder) {
    TestSite site;
    add_user(site, "clerk", "i3103 del");
    ASSERT_TRUE(site.login("clerk", "pw"));
    auto r = site.get("Data_Input.asp?m=menu31&type=" + form_encode("（新）"));
    expect_texts(r.body,
                 {"录入 =>> 工作动态（新）", "<option value=\"3103\">审计动态</option>", "name=\"ID\" value=\"0\"", "请控制好附件的文件格式"},
                 {"<option value=\"3102\""});

    // Modify mode in a fresh session: the item's category is not offered to
    // this account, the first one it may use is; the picture folder stays
    // that of the last host page in the session (none yet).
    std::string id = add_item(site, "3102", "他人的''条目", "1", "9a.doc");
    site.exec("update Datas set D_text='第一行\r\n第二行 it''s' where id=" + id);
    site.forget_session();
    ASSERT_TRUE(site.login("clerk", "pw"));
    r = site.get("Data_Input.asp?ID=" + id);
    expect_texts(r.body,
                 {"<option value=\"3103\">审计动态</option>", "已有附件：<font color=red>9a.doc</font>", "value=\"他人的&#39;条目\"",
                  "note_body = '第一行第二行 it\\x27s';"});
    EXPECT_TRUE(has(site.get("upload_img.asp").body, "value=\"./Datas//\""));
    site.get("Data_Input.asp?m=menu32");
    site.get("Data_Input.asp?ID=" + id);
    EXPECT_TRUE(has(site.get("upload_img.asp").body, "value=\"./Datas/menu32/\""));
    EXPECT_TRUE(std::filesystem::is_directory(site.root() + "/Datas/menu32"));
}

TEST(DataDelete, TakesTheRowAndItsFilesOnly) {
    AdminSite site;
    std::filesystem::create_directories(site.root() + "/Datas/3102");
    for (const char* f : {"7a.doc", "7b.doc", "pic.gif"}) std::ofstream(site.root() + "/Datas/3102/" + f) << f;
    std::string id = add_item(site, "3102", "去 & 留", "1", "7a.doc*7b.doc*7missing.doc");
    auto r = site.get("Data_Del.asp?id=" + id);
    // The title's own & stays inside the message.
    EXPECT_TRUE(has(r.header("Location"), "%26")) << r.header("Location");
    EXPECT_EQ(r.location(), "Pop_OK.asp?message=删除 去 & 留 成功！&next_href=Data_List.asp?sub_menu=3102");
    EXPECT_EQ(site.scalar("select count(*) as n from Datas", "n"), "0");
    EXPECT_FALSE(exists(site, "Datas/3102/7a.doc"));
    EXPECT_FALSE(exists(site, "Datas/3102/7b.doc"));
    EXPECT_TRUE(exists(site, "Datas/3102/pic.gif"));
    EXPECT_TRUE(has(site.scalar("select work_text from monitor order by id desc", "work_text"), "删除信息: 3102 =>> 去 & 留"));
    EXPECT_TRUE(has(site.get("Data_Del.asp?id=" + id).body, " Error "));
    EXPECT_TRUE(has(site.get("Data_ModifyDel.asp").body, "请您先找到某项具体信息"));
}
