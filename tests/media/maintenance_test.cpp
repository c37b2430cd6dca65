// Keeping the catalogue: the administrator's list, the form, and the save
// page that stores, changes, replaces and removes titles with their files.
#include "tests/support/page_test.h"

#include "tests/media/media_fixture.h"

using namespace tav::test;

namespace {

const char kSave[] = "/Sys_Medium_Modify_Save.asp";

std::vector<Part> title_form(const std::string& id, const std::string& title, const std::string& path,
                             const std::string& client_file, const std::string& content) {
    return {field("ID", id),         field("Title", title),   field("Path", path),
            client_file.empty() ? field("Filename", "") : file("Filename", client_file, content),
            field("File_type", "audio_mp3"), field("Author", ""), field("Py", "Q"), field("Text", "")};
}

std::string row(TestSite& site, const std::string& id) {
    return site.scalar("select Title||'|'||Medium_text||'|'||Path||'|'||filename||'|'||file_type||'|'||Author||'|'||PY "
                       "as r from Medium where id=" + id, "r");
}

bool exists(TestSite& site, const std::string& rel) { return fs::exists(site.root() + rel); }

}  // namespace

TEST(MediaMaintenance, ListShowsIdsKindsAndWhichPlayerOpensAndTheFormPreselectsTheKind) {
    TestSite site;
    std::string mp3 = add_title(site, {.title = "m", .text = "x"});
    std::string rm = add_title(site, {.title = "r", .kind = "video_rm"});
    std::string odd = add_title(site, {.title = "o", .kind = "flash"});
    std::string vid = add_title(site, {.title = "v", .kind = "video_asf"});
    ASSERT_TRUE(site.login());
    // the id, not a running number
    expect_texts(site.get("/Sys_Medium.asp").body,
                 {"<td>" + mp3 + "</td>", "<td>mp3音频</td>", "<td>_rm视频</td>", "<td>未知</td>", "<td>asf视频</td>",
                  "openWin('Medium_play_Audio.asp?id=" + odd + "')", "openWin('Medium_play_Video.asp?id=" + vid + "')",
                  "<a href=\"Medium_Info.asp?id=" + mp3 + "\">", "<td>暂无</td>",
                  "Sys_Medium_Modify.asp?id=" + rm + "\""});
    EXPECT_FALSE(has(site.get("/Sys_Medium.asp?sstr=zz").body, "openWin('Medium_play"));
    expect_texts(site.get("/Sys_Medium_Modify.asp?ID=" + rm).body,
                 {"修改媒体文件属性", "删除此媒体", "<option value=\"video_rm\" selected>"});
    expect_texts(site.get("/Sys_Medium_Modify.asp").body, {"添加新媒体文件", "value=\"/Medium/\""}, {"删除此媒体"});
    EXPECT_FALSE(has(site.get("/Sys_Medium_Modify.asp?ID=" + odd).body, " selected>"));
}

TEST(MediaMaintenance, AddChangeReplaceAndDelete) {
    AdminSite site;
    auto added = post_multipart(site, kSave, title_form("", "歌", "/Medium/", "C:\\x\\song.mp3", "ID3data"));
    EXPECT_EQ(added.location(), "Pop_OK.asp?message=添加新媒体文件成功！&next_href=Medium_List.asp");
    std::string id = site.scalar("select max(id) as id from Medium", "id");
    EXPECT_EQ(row(site, id), "歌|无|/Medium/|song.mp3|audio_mp3|无名|Q");
    EXPECT_TRUE(exists(site, "/Medium/song.mp3"));

    // Another title with the same file name: the file is refused, the row stored without it.
    post_multipart(site, kSave, title_form("", "twin", "/Medium/", "song.mp3", "other"));
    EXPECT_EQ(row(site, site.scalar("select max(id) as id from Medium", "id")), "twin|无|/Medium/||audio_mp3|无名|Q");

    // A change without a file keeps it; a new folder one level deep is made.
    auto changed = post_multipart(site, kSave, title_form(id, "新", "/Medium/new/", "", ""));
    EXPECT_EQ(changed.location(), "Pop_OK.asp?message=媒体信息修改成功！&next_href=Sys_Medium.asp");
    EXPECT_EQ(row(site, id), "新|无|/Medium/new/|song.mp3|audio_mp3|无名|Q");
    EXPECT_TRUE(exists(site, "/Medium/new"));
    site.exec("update Medium set Path='/Medium/' where id=" + id);

    // The same name again is refused: the old file stays and so does the name.
    post_multipart(site, kSave, title_form(id, "新", "/Medium/", "song.mp3", "replacement"));
    EXPECT_EQ(row(site, id), "新|无|/Medium/|song.mp3|audio_mp3|无名|Q");
    // Another name replaces the file.
    post_multipart(site, kSave, title_form(id, "新", "/Medium/", "D:\\b.mp3", "B"));
    EXPECT_EQ(row(site, id), "新|无|/Medium/|b.mp3|audio_mp3|无名|Q");
    EXPECT_FALSE(exists(site, "/Medium/song.mp3"));
    EXPECT_TRUE(exists(site, "/Medium/b.mp3"));
    EXPECT_EQ(site.scalar("select * from monitor order by id desc", "work_text"), "修改媒体：新，并替换文件：song.mp3==>>b.mp3");

    // A delete posts no path and no file.
    auto del = post_multipart(site, kSave, {field("ID", id), field("Dele", "ok"), field("Title", "新")});
    EXPECT_EQ(del.location(), "Pop_OK.asp?message=媒体信息修改成功！&next_href=Sys_Medium.asp");
    EXPECT_EQ(site.scalar("select count(*) as n from Medium where id=" + id, "n"), "0");
    EXPECT_FALSE(exists(site, "/Medium/b.mp3"));
    EXPECT_TRUE(has(site.scalar("select * from monitor order by id desc", "work_text"), "删除媒体“新”及相应文件："));

    // A title that is gone: the report, no redirect.
    auto again = post_multipart(site, kSave, {field("ID", id), field("Dele", "ok")});
    EXPECT_EQ(again.status, 200);
    EXPECT_TRUE(has(again.body, " Error "));
}

TEST(MediaMaintenance, StoredPathsNeverReachTheDatabaseOrTheRoot) {
    AdminSite site;
    std::ofstream(site.root() + "/keep.mp3") << "root file";
    for (const auto& [path, name] : std::vector<std::pair<std::string, std::string>>{
             {"/datebase/", "office.mdb"}, {"/", "keep.mp3"}, {"/", "style.css"}}) {
        std::string id = add_title(site, {.title = "x", .path = path, .filename = name});
        post_multipart(site, kSave, {field("ID", id), field("Dele", "ok")});
        EXPECT_TRUE(exists(site, path + name)) << path << name;
    }
    // Nor can a post save into them.
    post_multipart(site, kSave, title_form("", "t", "/datebase/", "evil.mp3", "x"));
    EXPECT_FALSE(exists(site, "/datebase/evil.mp3"));
    EXPECT_TRUE(has(post_multipart(site, kSave, title_form("", "t", "/../../", "e.mp3", "x")).body, " Error "));
}
