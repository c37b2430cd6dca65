// The folder tree: which folders it shows, in which order, which is marked,
// and the walk for a folder outside the account ending at the time limit.
#include "tests/support/page_test.h"

#include "filestore/names.h"
#include "filestore/walk.h"
#include "frame/errors.h"
#include "frame/host.h"
#include "tests/filestore/store_site.h"

using namespace tav::test;

namespace {

// The tree's lines in order: image and link target of each folder.
std::vector<std::string> tree_lines(const std::string& body) {
    std::vector<std::string> out;
    for (std::size_t at = body.find("<img src=images/folder"); at != std::string::npos;
         at = body.find("<img src=images/folder", at + 1)) {
        std::size_t gif = body.find(".gif", at);
        std::size_t href = body.find("folder.asp?folder=", gif);
        std::size_t end = body.find('>', href);
        out.push_back(body.substr(at + 22, gif - at - 22) + " " + body.substr(href + 18, end - href - 18));
    }
    return out;
}

}  // namespace

TEST(FolderOrder, ExchangeSortByCharacterCode) {
    struct Case { std::vector<std::string> in, out; } cases[] = {
        {{"a\\b", "a1", "a"}, {"a", "a1", "a\\b"}},
        // capitals and digits sit below the backslash, lower case and Chinese above it
        {{"a\\b", "ab", "aB", "a", "a中"}, {"a", "aB", "a\\b", "ab", "a中"}},
        {{"b", "a"}, {"a", "b"}},
        {{"x"}, {"x"}},
        {{}, {}},
    };
    for (auto& c : cases) {
        std::vector<std::string> v = c.in;
        tav::filestore::sort_dir(v);
        EXPECT_EQ(v, c.out);
    }
}

TEST(FolderOrder, ShownNamesOfTheForms) {
    struct Case { const char* folder; const char* shown; } cases[] = {
        {"\\user\\me\\a\\b", "\\a\\b"}, {"\\user\\me", "\\"}, {"\\user\\me\\", "\\"},
        {"\\a_new", "\\a_new"},         {"", "\\"},           {"\\user\\me\\文件", "\\文件"},
    };
    for (auto& c : cases) EXPECT_EQ(tav::filestore::shown_name(c.folder), c.shown) << c.folder;
}

TEST(FolderWalk, VisitsEachFolderUpToTheRootOnce) {
    std::vector<std::string> seen;
    auto get = [&](const std::string& p, std::string& list) {
        seen.push_back(p);
        list += p + "*";
    };
    EXPECT_EQ(tav::filestore::collect_folders("\\user\\me\\a\\b", "\\user\\me", get),
              "\\user\\me\\a\\b*\\user\\me\\a*\\user\\me*");
    seen.clear();
    tav::filestore::collect_folders("\\user\\me", "\\user\\me", get);
    EXPECT_EQ(seen, std::vector<std::string>{"\\user\\me"});
}

TEST(FolderTree, RootAsCurrentWithoutSubfolders) {
    StoreSite site;
    auto b = site.get("folder.asp").body;
    expect_texts(b, {"[单击右键弹出快捷菜单]<br>", "images/root.gif"}, {"root1.gif"});
    EXPECT_TRUE(tree_lines(b).empty());
    EXPECT_LT(b.find("[单击右键"), b.find("<html>"));
    // the file list of the root follows at once
    expect_texts(b,
                 {"<input type=\"hidden\" name=\"Folder\" value=\"\\user\\admin\">", "document.form1.submit();",
                  "folder_create.asp?Folder=\\user\\admin\""},
                 {" Error "});
    // the same for the root named
    EXPECT_TRUE(has(site.open("folder.asp", {{"Folder", "\\user\\admin"}}).body, "images/root.gif"));
}

TEST(FolderTree, OpensTheBranchOfTheCurrentFolderMarkedAndInOrder) {
    StoreSite site;
    for (const char* d : {"a/b/deep", "a/c", "a1", "B", "z", "中文"}) site.mkdir(d);
    // the tree's own links write the parameter in lower case
    auto b = site.open("folder.asp", {{"folder", "\\user\\admin\\a\\b"}}).body;
    EXPECT_EQ(tree_lines(b), (std::vector<std::string>{
                                 "1 \\user\\admin\\B", "1 \\user\\admin\\a", "1 \\user\\admin\\a1",
                                 "21 \\user\\admin\\a\\b", "3 \\user\\admin\\a\\b\\deep",
                                 "2 \\user\\admin\\a\\c", "1 \\user\\admin\\z", "1 \\user\\admin\\中文"}))
        << b;
    EXPECT_TRUE(has(b, "images/root1.gif"));
    EXPECT_TRUE(has(b, "<img src=images/folder21.gif border=0 align=absmiddle><a href=folder.asp?folder=\\user\\admin\\a\\b>"
                       "<font style='background-color:#336699;color:white'>b</font></a><br>"));
    EXPECT_EQ(count(b, "background-color:#336699"), 1);
    // a folder that is gone shows the rest of its branch
    auto gone = site.open("folder.asp", {{"Folder", "\\user\\admin\\a\\nothere"}}).body;
    EXPECT_EQ(tree_lines(gone).size(), 7u) << gone;
    EXPECT_FALSE(has(gone, " Error "));
}

TEST(FolderTree, FolderOutsideTheAccountIsRefusedWithoutAWalk) {
    StoreSite site;
    for (const char* folder : {"\\Datas", "\\USER\\admin", "abc", "\\user\\admin\\..\\..", "\\"}) {
        auto r = site.open("folder.asp", {{"Folder", folder}});
        EXPECT_EQ(r.status, 403) << folder;
        EXPECT_FALSE(has(r.body, "folder.asp?folder=")) << folder;
    }
}
