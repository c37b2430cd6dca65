// Every query and form parameter of every page, given each statement and
// markup payload in turn, as the administrator (who may open them all): no
// row or file changes, no answer fails, leaks another account's password or runs a
// payload, and a request that names a row by a payload never succeeds.
#include "tests/support/page_test.h"

#include "tests/datacentre/data_site.h"

using namespace tav::test;

namespace {

const char kSecret[] = "Vict1mSecret";
using Fields = std::vector<std::pair<std::string, std::string>>;

struct Hit {
    std::string url;     // "{}" stands for the payload, form-encoded
    Fields form = {};    // a form post when given; "{}" in a value stands for the payload
    bool refused = false;  // never answered with a redirect to a success
};

std::string fill(std::string s, const std::string& v) {
    for (std::size_t at = s.find("{}"); at != std::string::npos; at = s.find("{}", at + v.size())) s.replace(at, 2, v);
    return s;
}

}  // namespace

TEST(HostileParameters, EveryPageTakesEachPayloadAsAValueOrRefusesIt) {
    TestSite site;
    site.site().throttle().set_schedule({.free_failures = 1000000});
    const std::string victim = add_user(site, "victim", "1101", kSecret, "受害者");
    site.exec("insert into monitor(user_id,work_text) values (" + victim + ",'victim line')");
    // A row of each kind the pages name by id, the administrator's own.
    site.exec("insert into Address(User_id,Name,Work,Telphone,Mobile,Sex,Email) values (1,'n','w','t','m','男','e')");
    site.exec("insert into Record(user_id,Rec_title,Rec_text,Rec_money) values (1,'s','x',1)");
    site.exec("insert into Book(user_id,Book_title,book_text,Reply_id,User_IP) values (1,'t','b',0,'ip')");
    site.exec("insert into Email(send_user_id,to_user_id,Email_title,Email_text,Email_id) values (1,1,'t','b',0)");
    const std::string row = site.scalar("select max(id) as m from Record", "m");
    const std::string mail = site.scalar("select max(id) as m from Email", "m");
    const std::string item = add_item(site, "3102", "条目", "1", "5a.doc");
    for (const char* kind : {"audio_mp3", "video_rm"})
        site.exec(std::string("insert into Medium(Title,Medium_text,Path,filename,file_type,Author,PY) values "
                              "('t','d','/Medium/','a.mp3','") + kind + "','someone','A')");
    std::filesystem::create_directories(site.root() + "/user/admin/a");
    const std::string a = "%5Cuser%5Cadmin%5Ca";
    ASSERT_TRUE(site.login());

    const Fields card = {{"Append", "No"}, {"id", "{}"}, {"Name", "n"}, {"Work", "w"},
                         {"Telphone", "t"}, {"Mobile", "m"}, {"Sex", "男"}, {"Email", "e"}};
    const std::vector<Hit> hits = {
        // Desktop and result pages.
        {"left.asp?xm={}"}, {"message_pop.asp?mstr={}"}, {"sys_losepasswordDO.asp?ID={}"},
        {"Pop_OK.asp?message={}&next_href=close.asp"}, {"Pop_OK.asp?message=m&next_href={}"},
        {"Pop_OK.asp?message=m&next_href=close.asp&type={}"}, {"Pop_Del.asp?message={}&Table={}&ID={}&next={}"},
        {"Del_Record.asp?Table={}&ID=1&next=close.asp", {}, true},
        {"Del_Record.asp?Table=user&ID={}&next=close.asp", {}, true},
        // Address book, staff directory and ledger.
        {"Address_list.asp?p={}", {}, true}, {"Address_edit.asp?id={}", {}, true},
        {"Address_delete.asp?id={}", {}, true}, {"Address_Del_True.asp", {{"id", "{}"}}, true},
        {"Address_EditDo.asp", card, true}, {"User_address.asp?p={}", {}, true}, {"Record_List.asp?p={}", {}, true},
        {"Record_write.asp?id={}", {}, true}, {"Record_Save.asp?id={}&Rec_Title=s&Rec_Text=x&Rec_money=1", {}, true},
        {"Record_Save.asp?id={}&Rec_Title=del&Rec_Text=x&Rec_money=1", {}, true},
        {"Record_Save.asp?id=&Rec_Title=s&Rec_Text=x&Rec_money={}", {}, true},
        {"Record_Save.asp?id=" + row + "&Rec_Title=s&Rec_Text=x&Rec_money={}", {}, true},
        // Administration.
        {"Sys_User.asp?p={}"}, {"Sys_User_Menu.asp?p={}"}, {"Sys_User_Active.asp?p={}"},
        {"User_Info_Modify.asp?ID={}"}, {"User_Info_Modify1.asp?id={}"}, {"Sys_User_Menu_Modify.asp?ID={}"},
        {"Sys_User_Active_List.asp?ID={}"}, {"user_signe_upload.asp?OK_NO={}&ID={}"},
        // Guest book and chat.
        {"Book_list.asp?GL={}"}, {"Book_list.asp?p={}"}, {"Book_list.asp?GL=1&type={}"}, {"Book_read.asp?id={}"},
        {"Book_Write.asp?id={}"}, {"Chat_Input.asp?name={}"}, {"Chat_input.asp?name={}&x={}"},
        {"Chat_Show.asp", {{"oldsays", "{}"}, {"username", "{}"}}},
        // Data centre.
        {"Menu.asp?id={}"}, {"Menu.asp?id={}&del=yes"}, {"Menu.asp?id={}&user_text=abc"}, {"Menu.asp?del={}"},
        {"Menu.asp?old_text={}"}, {"Data_type.asp?m_id={}"}, {"Data_type.asp?m_id=31&xm={}"},
        {"Data_type.asp?m_id=31&id={}"}, {"Data_type.asp?m_id=31&id={}&user_text=abc"},
        {"Data_type.asp?m_id=31&old_text={}"}, {"type_modify.asp?Dtable={}"},
        {"type_modify.asp?Dtable={}&id=0&new_name=abc"}, {"type_modify.asp?Dtable=DepartMent&id={}"},
        {"type_modify.asp?Dtable=DepartMent&id={}&new_name=abc"}, {"type_modify.asp?Dtable=DepartMent&old_name={}"},
        {"Data_list.asp?p={}"}, {"Data_list.asp?Sub_menu={}"}, {"Data_list.asp?Sub_menu=3102&sstr={}"},
        {"Data_read.asp?id={}"}, {"Lock.asp?id={}&k=lock"}, {"Lock.asp?id=" + item + "&k={}"},
        {"Lock.asp?id=" + item + "&k=unlock&table={}"}, {"Data_Input.asp?ID={}"},
        {"Data_Input.asp?ID=" + item + "&type={}"}, {"Data_Del.asp?id={}"},
        // Mail.
        {"Email_list.asp?type={}"}, {"Email_list.asp?type=0&p={}"}, {"Email_list.asp?type=0&sstr={}"},
        {"Email_list.asp?type=3&sstr={}"}, {"Email_list.asp?type=0&sbody=1&sstr={}"},
        {"Email_list.asp?type=0&sstr=abc&sbody={}"}, {"Email_Del.asp?type=2&dellist={}"},
        {"Email_Del.asp?type={}&dellist=" + mail}, {"Email_read.asp?id={}"}, {"Email_Reply.asp?id={}"},
        {"Select_user.asp?x={}"}, {"Email_send.asp?Emailto={}&to_user_idstr={}&Email_title={}"},
        // Media.
        {"Medium_list.asp?p={}"}, {"Medium_list.asp?sstr={}"}, {"Medium_list.asp?file_type={}"},
        {"Medium_list.asp?PY={}"}, {"Medium_Info.asp?id={}"}, {"Medium_play_Audio.asp?ID={}"},
        {"Medium_play_Video.asp?ID={}"}, {"Sys_Medium.asp?p={}"}, {"Sys_Medium.asp?sstr={}"},
        {"Sys_Medium_Modify.asp?ID={}"},
        // File store (FDO stays off: the forms only).
        {"folder.asp?Folder=%5Cuser%5Cadmin%5C{}"}, {"Folder_create.asp?Folder={}"},
        {"Folder_create.asp?Folder=" + a + "&Curr_dir={}"}, {"Folder_delete.asp?Folder={}"},
        {"Folder_delete.asp?Folder=" + a + "&Curr_dir={}"}, {"Folder_rename.asp?Folder={}"},
        {"Folder_rename.asp?Folder=" + a + "&Curr_dir={}"}, {"Folder_rename.asp?Folder=" + a + "&root={}"},
        {"file.asp?Folder={}"}, {"file.asp?Folder=" + a + "&file_name={}"}, {"file.asp?Folder=" + a + "&does={}"},
        {"file_rename.asp?Folder={}"}, {"file_rename.asp?Folder=" + a + "&old_name={}"}, {"file_upload.asp?Folder={}"},
    };
    // The activity log may note an attempt (and so count its ids on);
    // everything else must stand.
    auto rows = [&] {
        site.exec("delete from monitor where work_text<>'victim line'");
        std::string all = snapshot(site);
        const std::size_t from = all.find("#sqlite_sequence\n");  // SQLite only
        return from == std::string::npos ? all : all.erase(from, all.find('#', from + 1) - from);
    };
    const std::string before = rows();
    for (const std::string& p : all_payloads()) {
        for (const Hit& h : hits) {
            const std::string url = fill(h.url, form_encode(p));
            Fields form = h.form;
            for (auto& [name, value] : form) value = fill(value, p);
            Reply r = form.empty() ? site.get(url) : site.post_form(url, form);
            const std::string where = url + (form.empty() ? "" : " (form)") + " " + p;
            EXPECT_LT(r.status, 500) << where;
            if (h.refused) {
                EXPECT_NE(r.status, 302) << where;
            }
            EXPECT_FALSE(has(r.body, kSecret) || has(r.body, "victim line")) << where;
            r = without_edit_frame(without_edit_frame(r), "78%");
            expect_inert(url.find("Medium") == std::string::npos ? r : without_players(r), where);
            ASSERT_TRUE(rows() == before) << where;
        }
        // The entry form names its item by a payload.
        expect_inert(post_item(site, p, "3102", "t", "x"), "Data_InputDo.asp ID=" + p);
        ASSERT_TRUE(rows() == before) << "Data_InputDo.asp ID=" << p;
    }
}
