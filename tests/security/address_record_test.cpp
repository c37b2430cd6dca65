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
        me = tav::test::add_user(*this, "owner", "1401 1408 1502");
        other = tav::test::add_user(*this, "other");
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
    std::string rows() {
        return tav::test::rows_of(*this, "Address", "id,User_id,Name,Work,Telphone,Mobile,Sex,Email") +
               tav::test::rows_of(*this, "Record", "id,user_id,Rec_title,Rec_text,Rec_money") +
               tav::test::rows_of(*this, "user", "id,username,menu_idstr,online");  // a login rehashes the password
    }
};

}  // namespace

TEST(AddressRecordSecurity, StatementPayloadsInTextsChangeOnlyTheNamedRowAndOnlyToThatText) {
    const std::vector<std::string> text_fields = {"Name", "Work", "Telphone", "Mobile", "Sex", "Email"};
    // Every other row as a fresh site has it, without the named card or ledger row.
    std::string others_of_card, others_of_row;
    {
        Site base;
        base.exec("delete from Address where id=" + base.card);
        others_of_card = base.rows();
    }
    {
        Site base;
        base.exec("delete from Record where id=" + base.row);
        others_of_row = base.rows();
    }
    for (const std::string& p : kSql) {
        const std::string trimmed = tav::Trim(tav::Value(p)).str();
        for (const std::string& field : text_fields) {
            Site site;
            Fields f = {{"Append", "No"}, {"id", site.card}};
            for (const auto& name : text_fields) f.emplace_back(name, name == field ? p : "v");
            site.post_form("Address_EditDo.asp", f);
            // Changed to exactly the text sent, or not at all when a quote broke the statement.
            std::string stored = site.scalar("select " + field + " from Address where id=" + site.card, field);
            const std::string before = field == "Sex" ? "男" : std::string(1, tav::LCase(tav::Value(field))[0]);
            EXPECT_TRUE(stored == trimmed || stored == before)
                << field << ": " << p << " -> " << stored;
            site.exec("delete from Address where id=" + site.card);
            EXPECT_EQ(site.rows(), others_of_card) << field << ": " << p;
        }
        for (const std::string field : {"Rec_Title", "Rec_Text"}) {
            Site site;
            const bool title = field == "Rec_Title";
            site.get("Record_Save.asp?id=" + site.row + "&Rec_Title=" + (title ? form_encode(p) : "s") +
                     "&Rec_Text=" + (title ? "x" : form_encode(p)) + "&Rec_money=1");
            const std::string col = title ? "Rec_title" : "Rec_text";
            std::string stored = site.scalar("select " + col + " from Record where id=" + site.row, col);
            EXPECT_TRUE(stored == trimmed || stored == (title ? "s" : "x")) << field << ": " << p << " -> " << stored;
            site.exec("delete from Record where id=" + site.row);
            EXPECT_EQ(site.rows(), others_of_row) << field << ": " << p;
        }
    }
}

TEST(AddressRecordSecurity, MarkupSentOrStoredComesBackAsText) {
    for (const std::string& p : kMarkup) {
        Site site;
        const std::string v = form_encode(p), q = tav::test::sql_quoted(p);
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
            ASSERT_EQ(tav::test::count(meeting.body, tav::pages::kNetMeetingObject), 1) << page << p;
            meeting.body.replace(meeting.body.find(tav::pages::kNetMeetingObject),
                                 std::string(tav::pages::kNetMeetingObject).size(), "");
            expect_inert(meeting, page + (" " + p));
        }
    }
}
