// Hostile values against every parameter of the file store's pages: no row
// changes, and no name or parameter is written into a page as markup or
// script, from the tree, the file list or the forms.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/filestore/store_site.h"
#include "tests/support/accounts.h"
#include "tests/support/payloads.h"
#include "tests/support/text.h"

namespace fs = std::filesystem;
using tav::test::expect_inert;
using tav::test::kMarkup;
using tav::test::kSql;
using tav::test::StoreSite;

namespace {

struct PageParams {
    const char* page;
    std::vector<const char*> params;
};

// Every page and parameter; FDO stays off, so nothing on the disk changes.
const std::vector<PageParams> kPages = {
    {"Folder_create.asp", {"Folder", "Curr_dir"}},
    {"Folder_delete.asp", {"Folder", "Curr_dir"}},
    {"Folder_rename.asp", {"Folder", "Curr_dir", "root"}},
    {"file.asp", {"Folder", "file_name", "does"}},
    {"file_rename.asp", {"old_name", "Folder"}},
    {"file_upload.asp", {"Folder"}},
};

std::string rows(StoreSite& site) {
    return tav::test::rows_of(site, "user", "id,username,password,menu_idstr,online");
}

}  // namespace

TEST(FilestoreSecurity, PayloadsInEveryParameterStayText) {
    StoreSite site;
    site.mkdir("a");
    const std::string before = rows(site);
    for (const auto& payloads : {kSql, kMarkup}) {
        for (const std::string& p : payloads) {
            for (const PageParams& pp : kPages) {
                for (const char* param : pp.params) {
                    std::vector<std::pair<std::string, std::string>> q = {{"Folder", "\\user\\admin\\a"}};
                    if (std::string(param) == "Folder") q.clear();
                    q.emplace_back(param, p);
                    auto r = site.open(pp.page, q);
                    expect_inert(r, std::string(pp.page) + " " + param + "=" + p);
                }
            }
            // the tree, with the payload below the root so that the walk ends
            expect_inert(site.open("folder.asp", {{"Folder", "\\user\\admin\\" + p}}), "folder.asp " + p);
        }
    }
    EXPECT_EQ(rows(site), before);
    EXPECT_TRUE(fs::exists(site.store("a")));
}

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
