// Making, deleting and renaming folders through their forms and by direct
// requests, as the disk sees it.
#include "tests/support/page_test.h"

#include "tests/filestore/store_site.h"

using namespace tav::test;

namespace {
const char kReload[] = " window.top.detail.folder.location.reload()";
const char kRootText[] = "根目录 \\ 不可删除！<br>请先选择某个子文件夹……";
}  // namespace

TEST(FolderCreate, MenuLinkThenPostedNamesReachTheDisk) {
    StoreSite site;
    // the menu's link: the current folder becomes the hidden CURR_DIR
    auto form = site.open("folder_create.asp", {{"Folder", "\\user\\admin"}}).body;
    expect_texts(form, {"name=\"CURR_DIR\" value=\"\\user\\admin\\\""}, {kReload});
    EXPECT_TRUE(fs::is_empty(site.store()));

    struct Case {
        std::string typed, on_disk;
    } cases[] = {{"my docs", "my_docs"}, {"中文 文件夹", "中文_文件夹"}, {"新文件夹", "新文件夹"}};
    for (auto& c : cases) {
        auto r = site.open("Folder_create.asp", {{"Folder", c.typed}, {"CURR_DIR", "\\user\\admin\\"}, {"FDO", "create"}});
        EXPECT_TRUE(has(r.body, kReload)) << c.typed;
        EXPECT_TRUE(fs::is_directory(site.store(c.on_disk))) << c.on_disk;
        // the tree gives it back as typed, blanks aside
        EXPECT_TRUE(has(site.get("folder.asp").body, ">" + c.on_disk + "</a>")) << c.on_disk;
    }
    // a second time, and an empty name (which names CURR_DIR itself)
    for (std::string name : {"my docs", ""}) {
        auto again = site.open("Folder_create.asp", {{"Folder", name}, {"CURR_DIR", "\\user\\admin\\"}, {"FDO", "create"}});
        EXPECT_TRUE(has(again.body, "Folder Exist!")) << name;
        EXPECT_FALSE(has(again.body, kReload));
    }
    // one level only: a missing parent is a failure of the disk, reported
    auto deep = site.open("Folder_create.asp", {{"Folder", "x"}, {"CURR_DIR", "\\user\\admin\\no\\"}, {"FDO", "create"}});
    expect_texts(deep.body, {" Error ", "Routine : foldercreate.I_init"});
    EXPECT_FALSE(fs::exists(site.store("no")));
}

TEST(FolderDelete, RootRefusedByTheFormOnlyAndSubfoldersGoWithAllTheyHold) {
    StoreSite site;
    site.mkdir("a/b");
    site.touch("a/b/f.txt");
    // the root as current: message, no form, nothing deleted without FDO
    auto root = site.open("folder_delete.asp", {{"Folder", "\\user\\admin"}}).body;
    expect_texts(root, {kRootText}, {"name=\"myform\""});
    EXPECT_TRUE(fs::exists(site.store("a")));

    auto ask = site.open("folder_delete.asp", {{"Folder", "\\user\\admin\\a"}}).body;
    expect_texts(ask,
                 {"真的删除文件夹:<br>“ \\a ”<br>内的所有文件和子文件夹吗？", "name=\"CURR_DIR\" value=\"\\user\\admin\\a\"",
                  "name=\"Folder\" value=\"\\a\""});
    auto done = site.open("Folder_delete.asp", {{"Folder", "\\a"}, {"CURR_DIR", "\\user\\admin\\a"}, {"FDO", "delete"}});
    EXPECT_TRUE(has(done.body, kReload));
    EXPECT_FALSE(fs::exists(site.store("a")));
    // what is gone already: nothing done, nothing said
    auto gone = site.open("Folder_delete.asp", {{"Folder", "\\a"}, {"CURR_DIR", "\\user\\admin\\a"}, {"FDO", "delete"}});
    expect_texts(gone.body, {}, {kReload, " Error "});

    // A direct request to delete the root is refused; the root stays.
    site.mkdir("keep");
    auto r = site.open("Folder_delete.asp", {{"Folder", "\\user\\admin"}, {"FDO", "delete"}});
    EXPECT_EQ(r.status, 403);
    EXPECT_TRUE(fs::exists(site.store("keep")));
    // the tree of a store that is gone lists nothing and still loads the files frame
    fs::remove_all(site.store());
    auto tree = site.get("folder.asp").body;
    expect_texts(tree, {"document.form1.submit();"}, {" Error "});
}

TEST(FolderRename, FormNewNamesTargetsThatExistAndMoves) {
    StoreSite site;
    site.mkdir("a/inner");
    site.mkdir("taken");
    site.mkdir("dest");
    auto root = site.open("folder_rename.asp", {{"Folder", "\\user\\admin"}}).body;
    expect_texts(root, {kRootText}, {"更 名"});

    auto form = site.open("folder_rename.asp", {{"Folder", "\\user\\admin\\a"}}).body;
    expect_texts(form,
                 {"文件夹:“ \\a ”", "name=\"Folder\" value=\"\\a_new\"", "name=\"CURR_DIR\" value=\"\\user\\admin\\a\""});

    auto rename = [&](const std::string& typed, const std::string& curr) {
        return site.open("Folder_rename.asp",
                         {{"Folder", typed}, {"CURR_DIR", curr}, {"ROOT", "\\user\\admin"}, {"FDO", "rename"}});
    };
    // a target that exists: message only, nothing moves
    auto taken = rename("\\taken", "\\user\\admin\\a");
    EXPECT_EQ(taken.body, "目标文件夹已经存在！<br>");
    EXPECT_TRUE(fs::exists(site.store("a/inner")));
    // blanks become underscores; a name typed without backslash gets one
    auto r = rename("新 名", "\\user\\admin\\a");
    EXPECT_TRUE(has(r.body, kReload));
    EXPECT_FALSE(has(r.body, "<html>")) << "no page follows";
    EXPECT_TRUE(fs::exists(site.store("新_名/inner")));
    EXPECT_FALSE(fs::exists(site.store("a")));
    // the whole path below the root is the new name: the folder can move
    rename("\\dest\\moved", "\\user\\admin\\新_名");
    EXPECT_TRUE(fs::exists(site.store("dest/moved/inner")));
    // an old path that does not exist: nothing, and no page
    auto none = rename("\\x", "\\user\\admin\\nothere");
    EXPECT_EQ(none.body, "");
    EXPECT_FALSE(fs::exists(site.store("x")));
}
