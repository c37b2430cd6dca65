// The file list of a folder, and deleting, renaming and uploading files.
#include "tests/support/page_test.h"

#include "tests/filestore/store_site.h"

using namespace tav::test;

namespace {

const char kSpacer[] = "<tr><td colspan=2>&nbsp;</td></tr>";

std::string upload_body(const std::string& folder, const std::string& filename, const std::string& content) {
    return multipart_body("----TavelorBoundary",
                                     {file_part("File1", filename, content), {"Folder", folder}});
}

}  // namespace

TEST(FileList, TwoToARowPaddedByFilesCounted) {
    StoreSite site;
    site.mkdir("odd");
    site.mkdir("ten");
    site.mkdir("empty");
    for (int i = 0; i < 3; ++i) site.touch("odd/f" + std::to_string(i) + ".txt");
    for (int i = 0; i < 10; ++i) site.touch("ten/g" + std::to_string(i) + ".txt");
    struct Case {
        const char* folder;
        int files, spacers, row_breaks;
    } cases[] = {{"empty", 0, 15, 0}, {"odd", 3, 12, 1}, {"ten", 10, 5, 5}, {"gone", 0, 15, 0}};
    for (auto& c : cases) {
        auto b = site.open("file.asp", {{"Folder", std::string("\\user\\admin\\") + c.folder}}).body;
        EXPECT_EQ(count(b, "<td nowrap>"), c.files) << c.folder;
        EXPECT_EQ(count(b, kSpacer), c.spacers) << c.folder;
        EXPECT_EQ(count(b, "</tr><tr>"), c.row_breaks) << c.folder;
        EXPECT_TRUE(has(b, std::string("当前目录：\\") + c.folder)) << c.folder;
        EXPECT_FALSE(has(b, " Error ")) << c.folder;
    }
    // an odd count leaves the last row with one cell before the spacers
    auto odd = site.open("file.asp", {{"Folder", "\\user\\admin\\odd"}}).body;
    expect_texts(odd,
                 {"f2.txt</a></td>" + std::string(kSpacer),
                  "<a href=\".\\user\\admin\\odd/f0.txt\" target=\"ff\" onmouseover=\"curr_file('f0.txt')\">"});
}

TEST(FileList, FolderShownBelowTheRootAndTheBareFrame) {
    StoreSite site;
    site.mkdir("a/b");
    EXPECT_EQ(site.get("file.asp").body, "");
    EXPECT_TRUE(has(site.open("file.asp", {{"Folder", "\\user\\admin"}}).body, "当前目录：\\</font>"));
    auto b = site.open("file.asp", {{"Folder", "\\user\\admin\\a\\b"}}).body;
    expect_texts(b,
                 {"当前目录：\\a\\b</font>", "file_upload.asp?Folder=\\user\\admin\\a\\b\"",
                  "<input type=\"hidden\" name=\"menu\" value=\"0\">"});
}

TEST(FileActions, DeleteRenameAndSave) {
    StoreSite site;
    site.touch("a.txt", "A");
    site.touch("b.txt", "B");
    site.mkdir("sub");
    auto del = site.open("file.asp", {{"Folder", "\\user\\admin"}, {"does", "delete"}, {"file_name", "a.txt"}});
    EXPECT_FALSE(fs::exists(site.store("a.txt")));
    expect_texts(del.body, {"b.txt"}, {"a.txt"});
    // gone already: nothing said
    EXPECT_FALSE(has(site.open("file.asp", {{"Folder", "\\user\\admin"}, {"does", "delete"}, {"file_name", "a.txt"}}).body,
                     " Error "));

    auto ren = site.open("file.asp", {{"Folder", "\\user\\admin"}, {"does", "rename"}, {"file_name", "b.txt"}});
    EXPECT_EQ(ren.location(), "file_rename.asp?old_name=b.txt&Folder=\\user\\admin");
    auto form = site.open("file_rename.asp", {{"old_name", "b.txt"}, {"Folder", "\\user\\admin"}}).body;
    expect_texts(form,
                 {"将文件：<font color=\"red\">b.txt</font>", "name=\"new_name\" value=b.txt ",
                  "name=\"old_name\" value=b.txt>"});
    // A name with a blank: the browser reads the unquoted values up to it.
    expect_texts(site.open("file_rename.asp", {{"old_name", "my file.txt"}, {"Folder", "\\user\\admin"}}).body,
                 {"name=\"new_name\" value=my size=", "name=\"old_name\" value=my>",
                  "<font color=\"red\">my file.txt</font>"});

    // A name with a folder part, or one that exists, is refused with its reason.
    site.touch("d.txt", "D");
    struct Case { std::string old_name, new_name, lands, refusal; } cases[] = {{"b.txt", "新 名.txt", "新 名.txt", ""},
                 {"新 名.txt", "sub\\in.txt", "新 名.txt", "不能含有“/”或“\\”"},
                 {"新 名.txt", "d.txt", "新 名.txt", "已经有名为“d.txt”"},
                 {"nothere", "x", "", ""}};
    for (auto& c : cases) {
        auto r = site.open("file_rename_save.asp",
                           {{"old_name", c.old_name}, {"new_name", c.new_name}, {"Folder", "\\user\\admin"}});
        if (c.refusal.empty()) {
            EXPECT_EQ(r.location(), "file.asp?Folder=\\user\\admin") << c.new_name;
        } else {
            EXPECT_TRUE(has(r.body, c.refusal)) << c.new_name << r.body;
        }
        if (!c.lands.empty()) {
            EXPECT_EQ(slurp(site.store(c.lands)), "B") << c.lands;
        }
    }
    EXPECT_FALSE(fs::exists(site.store("x")));
    EXPECT_FALSE(fs::exists(site.store("sub/in.txt")));
    EXPECT_EQ(slurp(site.store("d.txt")), "D");
}

TEST(FileUpload, FormPostExistingNameAndLogin) {
    StoreSite site;
    site.mkdir("docs");
    auto form = site.open("file_upload.asp", {{"Folder", "\\user\\admin\\docs"}}).body;
    expect_texts(form,
                 {"<input type=\"file\" name=\"File1\"", "name=\"Folder\" value=\"\\user\\admin\\docs\"",
                  "你没有选择文件！\\n请通过浏览按钮从文件夹中选取某个文件"});

    struct Case { std::string name, content, stored; } cases[] = {
        {"C:\\fakepath\\报告 一.txt", "first", "first"},
        // the same name again: the old file stays, and success is shown all the same
        {"报告 一.txt", "second", "first"},
        {"plain.bin", std::string("\0\x01\xff", 3), std::string("\0\x01\xff", 3)},
    };
    for (auto& c : cases) {
        auto r = site.post_raw("file_upload.asp", "multipart/form-data; boundary=----TavelorBoundary",
                               upload_body("\\user\\admin\\docs", c.name, c.content));
        EXPECT_EQ(r.location(), "Pop_OK.asp?message=文件上传成功&next_href=file.asp?Folder=\\user\\admin\\docs") << c.name;
        std::string base = c.name.substr(c.name.rfind('\\') == std::string::npos ? 0 : c.name.rfind('\\') + 1);
        EXPECT_EQ(slurp(site.store("docs/" + base)), c.stored) << c.name;
    }
    // the Chinese name lists as it was typed
    EXPECT_TRUE(has(site.open("file.asp", {{"Folder", "\\user\\admin\\docs"}}).body, ">报告 一.txt</a>"));
    // no file chosen: nothing stored, success still reported
    auto none = site.post_raw("file_upload.asp", "multipart/form-data; boundary=----TavelorBoundary",
                              upload_body("\\user\\admin\\docs", "", ""));
    EXPECT_TRUE(has(none.location(), "文件上传成功"));
    EXPECT_EQ(std::distance(fs::directory_iterator(site.store("docs")), fs::directory_iterator{}), 2);
    // into a folder that climbs out of the site: nothing written there
    auto out = site.post_raw("file_upload.asp", "multipart/form-data; boundary=----TavelorBoundary",
                             upload_body("\\..\\..", "C:\\x\\escaped.txt", "x"));
    EXPECT_FALSE(fs::exists(fs::path(site.root()).parent_path().parent_path() / "escaped.txt"));
    EXPECT_FALSE(fs::exists(fs::path(site.root()).parent_path() / "escaped.txt"));

    // The quota counts the whole store plus the upload: a file that fits is
    // stored, one byte more is refused with the numbers, and nothing is kept.
    site.exec("update software set Hardserial='1' where softname='quota_store'");
    site.touch("fill.bin", std::string(1024 * 1024 - 20 - 8, 'x'));  // the store holds 28 bytes already
    auto quota = [&](const std::string& name, std::size_t bytes) {
        return site.post_raw("file_upload.asp", "multipart/form-data; boundary=----TavelorBoundary",
                             upload_body("\\user\\admin\\docs", name, std::string(bytes, 'q')));
    };
    auto over = quota("over.txt", 21);
    EXPECT_TRUE(has(over.body, "限额 1 MB")) << over.body;
    EXPECT_FALSE(fs::exists(site.store("docs/over.txt")));
    EXPECT_TRUE(has(quota("fits.txt", 20).location(), "文件上传成功"));
    EXPECT_EQ(fs::file_size(site.store("docs/fits.txt")), 20u);
}
