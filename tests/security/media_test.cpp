// Hostile input stored in the media catalogue or sent to its save page:
// statements stay whole, no stored value runs as script, no file lands or
// goes outside the media folders.
#include "tests/support/page_test.h"

#include "tests/media/media_fixture.h"

using namespace tav::test;

TEST(MediaSecurity, StoredMarkupStaysTextOnEveryPage) {
    AdminSite site;
    std::vector<std::string> ids;
    for (const auto& m : kMarkup) {
        if (m.find('\'') != std::string::npos) continue;  // the fixture's statement quotes with '
        ids.push_back(add_title(site, {.title = m, .py = "A", .text = m, .path = "/Medium/", .filename = m}));
        ids.push_back(add_title(site, {.title = m, .kind = "video_rm", .text = m, .filename = m}));
        ids.push_back(add_title(site, {.title = m, .kind = "audio_asf", .text = m, .filename = m}));
    }
    for (const char* url : {"/Medium_list.asp", "/Medium_list.asp?file_type=video_rm", "/Sys_Medium.asp"})
        expect_inert(site.get(url), url);
    for (const auto& id : ids)
        for (const char* page : {"/Medium_Info.asp?id=", "/Medium_play_Audio.asp?ID=", "/Medium_play_Video.asp?ID=",
                                 "/Sys_Medium_Modify.asp?ID="})
            expect_inert(without_players(site.get(page + id)), page + id);
}

TEST(MediaSecurity, SaveFieldsNeitherWidenStatementsNorMoveFiles) {
    AdminSite site;
    std::string id = add_title(site, {.title = "keep"});
    std::string users = rows_of(site, "user", "id,username,password,menu_idstr,plays");
    for (const char* name : {"ID", "Dele", "Title", "Path", "File_type", "Py", "Author", "Text"})
        for (const auto& payload : kSql) {
            std::vector<Part> parts = {field("ID", id), field("Title", "t"), field("Path", "/Medium/"),
                                       field("File_type", "audio_mp3"), file("Filename", "z.mp3", "x")};
            bool replaced = false;
            for (auto& p : parts)
                if (p.name == name) p = field(name, payload), replaced = true;
            if (!replaced) parts.push_back(field(name, payload));
            post_multipart(site, "/Sys_Medium_Modify_Save.asp", parts);
            fs::remove(site.root() + "/Medium/z.mp3");
        }
    EXPECT_EQ(rows_of(site, "user", "id,username,password,menu_idstr,plays"), users);
    // Only the plain update of the title itself may have touched its row.
    EXPECT_EQ(site.scalar("select count(*) as n from Medium where id<>" + id, "n"), "0");
    EXPECT_TRUE(fs::exists(site.root() + "/datebase/office.mdb"));
    for (const auto& e : fs::recursive_directory_iterator(site.root()))
        EXPECT_NE(e.path().filename().string(), "z.mp3") << e.path();
}
