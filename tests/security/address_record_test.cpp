// Hostile input against every parameter of the address book, staff
// directory, ledger and meeting pages: statement payloads change no row but
// the one the request names, and markup, whether sent or stored, comes back
// as text.
#include "tests/support/page_test.h"

#include "collaboration/netmeetingcontrol.h"
#include "frame/vb.h"

using namespace tav::test;

namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

struct Site : TestSite {
    std::string me, other, card, theirs_card, row, theirs_row;
    Site() {
        me = add_user(*this, "owner", "1401 1408 1502");
        other = add_user(*this, "other");
        for (const auto& uid : {me, other}) {
            exec("insert into Address(User_id,Name,Work,Telphone,Mobile,Sex,Email) values (" + uid +
                 ",'n','w','t','m','男','e')");
            exec("insert into Record(user_id,Rec_title,Rec_text,Rec_money) values (" + uid + ",'s','x',1)");
        }
        card = scalar("select min(id) as m from Address", "m");
        theirs_card = scalar("select max(id) as m from Address", "m");
        row = scalar("select min(id) as m from Record", "m");
        theirs_row = scalar("select max(id) as m from Record", "m");
        EXPECT_TRUE(login("owner", "pw"));
    }
    // Every row but the two a test names.
    std::string others() {
        return rows_of(*this, "Address where id<>" + card, "id,User_id,Name,Work,Telphone,Mobile,Sex,Email") +
               rows_of(*this, "Record where id<>" + row, "id,user_id,Rec_title,Rec_text,Rec_money") +
               rows_of(*this, "user", "id,username,menu_idstr,online");  // a login rehashes the password
    }
};

}  // namespace

// One field at a time holds the payload (a quote in any other value would
// stop the statement before it runs and hide the field under test).
TEST(AddressRecordSecurity, StatementPayloadsInTextsChangeOnlyTheNamedRowAndOnlyToThatText) {
    const std::vector<std::string> fields = {"Name", "Work",  "Telphone",  "Mobile",
                                             "Sex",  "Email", "Rec_Title", "Rec_Text"};
    for (const std::string& p : kSql) {
        const std::string trimmed = tav::Trim(tav::Value(p)).str();
        Site site;
        const std::string others = site.others();
        for (const std::string& field : fields) {
            SCOPED_TRACE(field + ": " + p);
            const bool card = field.rfind("Rec_", 0) != 0;
            if (card) {
                Fields f = {{"Append", "No"}, {"id", site.card}};
                for (std::size_t i = 0; i < 6; ++i) f.emplace_back(fields[i], fields[i] == field ? p : "v");
                site.post_form("Address_EditDo.asp", f);
            } else {
                site.get("Record_Save.asp?id=" + site.row +
                         "&Rec_Title=" + (field == "Rec_Title" ? form_encode(p) : "s") +
                         "&Rec_Text=" + (field == "Rec_Text" ? form_encode(p) : "x") + "&Rec_money=1");
            }
            // Changed to exactly the text sent, or not at all when a quote broke the statement.
            const std::string col = field == "Rec_Title" ? "Rec_title" : field == "Rec_Text" ? "Rec_text" : field;
            const std::string stored =
                site.scalar("select " + col + " from " + (card ? "Address where id=" + site.card : "Record where id=" +
                            site.row), col);
            const std::string before = field == "Sex" ? "男" : field == "Rec_Title" ? "s" : field == "Rec_Text" ? "x"
                                       : std::string(1, tav::LCase(tav::Value(field))[0]);
            EXPECT_TRUE(stored == trimmed || stored == before) << stored;
            EXPECT_EQ(site.others(), others);
            site.exec("update Address set Name='n',Work='w',Telphone='t',Mobile='m',Sex='男',Email='e' where id=" +
                      site.card);
        }
    }
}

TEST(AddressRecordSecurity, MarkupSentOrStoredComesBackAsText) {
    for (const std::string& p : kMarkup) {
        Site site;
        const std::string v = form_encode(p), q = sql_quoted(p);
        // Stored through the pages, then shown by every page that shows it.
        Fields card = {{"Append", "No"}, {"id", site.card}};
        for (const char* name : {"Name", "Work", "Telphone", "Mobile", "Sex", "Email"}) card.emplace_back(name, p);
        expect_inert(site.post_form("Address_EditDo.asp", card), "Address_EditDo.asp " + p);
        site.get("Record_Save.asp?id=" + site.row + "&Rec_Title=" + v + "&Rec_Text=" + v + "&Rec_money=2");
        // Also in the rows directly: a quote stops the pages' own statements.
        site.exec("update Address set Name='" + q + "',Email='" + q + "' where id=" + site.theirs_card);
        site.exec("update Record set Rec_title='" + q + "',Rec_text='" + q + "',Rec_date='" +
                  q + "' where id=" + site.theirs_row);
        site.exec("update Record set user_id=" + site.me + " where id=" + site.theirs_row);
        site.exec("update Address set User_id=" + site.me + " where id=" + site.theirs_card);
        site.exec("update user set TrueName='" + q + "',IDCard='" + q + "',sex='" + q +
                  "',Telphone='" + q + "',Mobile='" + q + "',Email='" + q + "',ip='" +
                  q + "',online=1 where id=" + site.other);
        site.exec("insert into DepartMent(name) values ('" + q + "')");
        site.exec("update user set DepartMentID=(select max(id) from DepartMent) where id=" + site.other);

        for (const std::string& url :
             {std::string("Address_list.asp"), "Address_edit.asp?id=" + site.card,
              "Address_edit.asp?id=" + site.theirs_card, "Address_delete.asp?id=" + site.theirs_card,
              std::string("User_address.asp"), std::string("Record_List.asp"), "Record_write.asp?id=" + site.row,
              "Record_write.asp?id=" + site.theirs_row, std::string("Online_user.asp")}) {
            expect_inert(site.get(url), url + " " + p);
        }
        // The meeting pages' own object is the one object allowed.
        for (const char* page : {"Web_Meeting.asp", "start_netmeeting.asp"}) {
            Reply meeting = site.get(page);
            ASSERT_EQ(count(meeting.body, tav::pages::kNetMeetingObject), 1) << page << p;
            meeting.body.replace(meeting.body.find(tav::pages::kNetMeetingObject),
                                 std::string(tav::pages::kNetMeetingObject).size(), "");
            expect_inert(meeting, page + (" " + p));
        }
    }
}
