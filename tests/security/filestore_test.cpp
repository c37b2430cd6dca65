// Names on the disk that carry payloads come back as text in the file
// store's tree, lists and forms; and the exploits once measured on the file
// store and the collaboration pages, replayed.
#include "tests/support/page_test.h"

#include "frame/html.h"
#include "tests/filestore/store_site.h"

using namespace tav::test;

TEST(FilestoreSecurity, FolderAndFileNamesOnTheDiskStayText) {
    StoreSite site;
    int made = 0;
    for (const std::string& p : kMarkup) {
        if (p.find('/') != std::string::npos) continue;  // no file name can hold it
        site.mkdir("n/" + p);
        site.touch("n/" + p + "/" + p);
        site.touch("n/" + p + ".txt");
        ++made;
    }
    ASSERT_GE(made, 6);
    expect_inert(site.open("folder.asp", {{"Folder", "\\user\\admin\\n"}}), "tree of n");
    expect_inert(site.open("file.asp", {{"Folder", "\\user\\admin\\n"}}), "files of n");
    for (const std::string& p : kMarkup) {
        if (p.find('/') != std::string::npos) continue;
        std::string folder = "\\user\\admin\\n\\" + p;
        expect_inert(site.open("folder.asp", {{"Folder", folder}}), "tree at " + p);
        expect_inert(site.open("file.asp", {{"Folder", folder}}), "files at " + p);
        expect_inert(site.open("Folder_delete.asp", {{"Folder", folder}}), "delete form at " + p);
        expect_inert(site.open("Folder_rename.asp", {{"Folder", folder}}), "rename form at " + p);
        expect_inert(site.open("file_rename.asp", {{"Folder", folder}, {"old_name", p}}), "file rename at " + p);
    }
}

// The exploits once measured on the file store and the collaboration pages,
// each replayed: every one fails, and honest requests beside them still work.
TEST(CollaborationExploits, EachReplayedExploitFails) {
    StoreSite site;  // the administrator, signed in
    const std::string victim = add_user(site, "victim", "1201 1202 1203");
    site.exec("insert into Address(User_id,Name,Work,Telphone,Mobile,Sex,Email) values (" + victim +
              ",'秘密名片','w','t','m','男','e')");
    site.exec("insert into Record(user_id,Rec_title,Rec_text,Rec_money) values (" + victim + ",'秘密账目','x',9)");
    const std::string card = site.scalar("select max(id) as m from Address", "m");
    const std::string row = site.scalar("select max(id) as m from Record", "m");
    fs::create_directories(site.disk("user/victim"));
    std::ofstream(site.disk("user/victim/secret.txt")) << "s";
    site.touch("mine.txt");
    const std::string js = slurp(site.disk("TavelorJS.js"));
    ASSERT_FALSE(js.empty());

    struct Exploit {
        const char* what;
        bool anonymous;
        std::vector<std::pair<std::string, std::string>> get;  // page first, then the query
    };
    const std::string me = "\\user\\admin";
    const std::vector<Exploit> exploits = {
        {"anonymous rename over the site script", true,
         {{"file_rename_save.asp", ""}, {"Folder", "\\"}, {"old_name", "help.htm"}, {"new_name", "TavelorJS.js"}}},
        {"rename over the site script", false,
         {{"file_rename_save.asp", ""}, {"Folder", me}, {"old_name", "mine.txt"}, {"new_name", "..\\..\\TavelorJS.js"}}},
        {"rename from the site root", false,
         {{"file_rename_save.asp", ""}, {"Folder", "\\"}, {"old_name", "TavelorJS.js"}, {"new_name", "x.js"}}},
        {"rename compat", false,
         {{"Folder_rename.asp", ""}, {"Folder", "\\x"}, {"CURR_DIR", "\\compat"}, {"ROOT", me}, {"FDO", "rename"}}},
        {"rename compat by its own root", false,
         {{"Folder_rename.asp", ""}, {"Folder", "\\x"}, {"CURR_DIR", "\\compat"}, {"ROOT", "\\"}, {"FDO", "rename"}}},
        {"delete compat", false, {{"Folder_delete.asp", ""}, {"CURR_DIR", "\\compat"}, {"FDO", "delete"}}},
        {"delete compat by ..", false,
         {{"Folder_delete.asp", ""}, {"CURR_DIR", me + "\\..\\..\\compat"}, {"FDO", "delete"}}},
        {"delete help.htm", false, {{"file.asp", ""}, {"Folder", "\\"}, {"does", "delete"}, {"file_name", "help.htm"}}},
        {"delete help.htm by ..", false,
         {{"file.asp", ""}, {"Folder", me}, {"does", "delete"}, {"file_name", "..\\..\\help.htm"}}},
        {"list the mail folder", false, {{"file.asp", ""}, {"Folder", "\\Email"}}},
        {"list another account", false, {{"file.asp", ""}, {"Folder", "\\user\\victim"}}},
        {"walk the site root", false, {{"folder.asp", ""}, {"Folder", "\\"}}},
        {"folder in compat", false,
         {{"Folder_create.asp", ""}, {"Folder", "x"}, {"CURR_DIR", "\\compat\\"}, {"FDO", "create"}}},
        {"folder named CON", false,
         {{"Folder_create.asp", ""}, {"Folder", "CON"}, {"CURR_DIR", me + "\\"}, {"FDO", "create"}}},
        // Paths that climb out of the site, or name the site's root or its database.
        {"create beside the site", false,
         {{"Folder_create.asp", ""}, {"Folder", "escaped"}, {"CURR_DIR", "\\..\\..\\"}, {"FDO", "create"}}},
        {"create by a climbing name", false,
         {{"Folder_create.asp", ""}, {"Folder", "..\\..\\..\\escaped"}, {"CURR_DIR", me + "\\"}, {"FDO", "create"}}},
        {"rename to a climbing path", false,
         {{"Folder_rename.asp", ""}, {"Folder", "\\..\\..\\..\\escaped"}, {"CURR_DIR", me + "\\a"},
          {"ROOT", me}, {"FDO", "rename"}}},
        {"rename under a climbing root", false,
         {{"Folder_rename.asp", ""}, {"Folder", "\\a"}, {"CURR_DIR", me + "\\a"}, {"ROOT", "\\..\\.."}, {"FDO", "rename"}}},
        {"delete beside the site", false, {{"Folder_delete.asp", ""}, {"CURR_DIR", "\\..\\.."}, {"FDO", "delete"}}},
        {"delete the site root", false, {{"Folder_delete.asp", ""}, {"CURR_DIR", "\\"}, {"FDO", "delete"}}},
        {"delete the database", false, {{"Folder_delete.asp", ""}, {"CURR_DIR", "\\datebase"}, {"FDO", "delete"}}},
        {"rename the database", false,
         {{"Folder_rename.asp", ""}, {"Folder", "\\db"}, {"CURR_DIR", "\\DATEBASE"}, {"ROOT", me}, {"FDO", "rename"}}},
        {"delete the database file", false,
         {{"file.asp", ""}, {"Folder", "\\datebase"}, {"does", "delete"}, {"file_name", "office.mdb"}}},
        {"move the database file in", false,
         {{"file_rename_save.asp", ""}, {"Folder", me}, {"old_name", "..\\..\\datebase\\office.mdb"}, {"new_name", "db.txt"}}},
    };
    site.mkdir("a");
    const fs::path outside = fs::path(site.root()).parent_path();
    for (const Exploit& e : exploits) {
        if (e.anonymous) site.forget_session();
        auto r = site.open(e.get[0].first, {e.get.begin() + 1, e.get.end()});
        EXPECT_TRUE(r.status == 403 || r.status == 400 || r.location() == "login.asp") << e.what << " " << r.status;
        EXPECT_FALSE(has(r.body, "secret.txt") || has(r.body, "help.htm</a>")) << e.what;
        if (e.anonymous) {
            ASSERT_TRUE(site.login());
        }
    }
    EXPECT_EQ(slurp(site.disk("TavelorJS.js")), js);
    EXPECT_TRUE(fs::exists(site.disk("help.htm")));
    EXPECT_TRUE(fs::exists(site.disk("compat/binding.js")));
    EXPECT_FALSE(fs::exists(site.disk("compat/x")) || fs::exists(site.disk("x")) || fs::exists(site.store("CON")));
    EXPECT_TRUE(fs::exists(site.store("mine.txt")) && fs::exists(site.store("a")));
    EXPECT_FALSE(fs::exists(outside / "escaped") || fs::exists(outside.parent_path() / "escaped"));
    EXPECT_TRUE(fs::exists(site.disk("datebase/office.mdb")) && fs::exists(site.disk("images")));
    EXPECT_FALSE(fs::exists(site.store("db.txt")));

    // Stored quote, end of script and angle bracket show as text wherever they are stored.
    const std::string p = "x</script>\"'<y";
    const std::string q = "x</script>\"''<y";
    site.exec("update user set TrueName='" + q + "' where id=1");
    site.exec("update Address set Name='" + q + "',User_id=1 where id=" + card);
    site.exec("update Record set Rec_title='" + q + "',user_id=1 where id=" + row);
    site.exec("insert into Chat(user_id,Truename,To_username,Chat_text) values (1,'" + q + "','" + q + "','" + q + "')");
    site.exec("insert into Book(user_id,Book_title,book_text,Reply_id,User_IP) values (1,'" + q + "','" + q +
              "',0,'" + q + "')");
    const std::string book = site.scalar("select max(id) as m from Book", "m");
    for (const std::string& url : {std::string("Address_List.asp"), std::string("Record_List.asp"),
                                   std::string("Chat_Show.asp"), std::string("Chat_Input.asp"),
                                   std::string("Book_list.asp"), "Book_read.asp?id=" + book}) {
        auto r = site.get(url);
        EXPECT_TRUE(has(r.body, tav::html_text(p))) << url;
        EXPECT_FALSE(has(r.body, p)) << url;
        expect_inert(r, url);
    }
}
