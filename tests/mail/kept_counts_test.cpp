// The kept counts the lists page by (items per category, mails per folder,
// threads, cards per account, accounts) equal the counts of their rows after every
// kind of change: rows added, moved to another key, changed otherwise,
// given a null key, removed.
#include "tests/support/page_test.h"

using namespace tav::test;

TEST(KeptCounts, FollowEveryChangeOfTheirRows) {
    TestSite site;
    const std::string a = add_user(site, "ann"), b = add_user(site, "bob");
    struct Count {
        std::string kept, counted;  // "K" stands for each key in turn
        std::vector<std::string> keys;
    };
    const std::vector<std::string> users = {"1", a, b};
    const std::string to = "select count(id) as n from Email where to_user_id=K and ";
    const std::vector<Count> counts = {
        {"datas_tally where Sub_menu='K'", "select count(id) as n from Datas where Sub_menu='K'", {"3102", "3103"}},
        {"email_tally where folder=0 and user_id=K", to + "To_del=0", users},
        {"email_tally where folder=1 and user_id=K", to + "read=1 and To_del=0", users},
        {"email_tally where folder=2 and user_id=K", to + "To_del=1", users},
        {"email_tally where folder=3 and user_id=K",
         "select count(id) as n from Email where send_user_id=K and Send_del=0", users},
        {"unread_tally where user_id=K", to + "read=0 and To_del<>2", users},
        {"book_tally where K", "select count(id) as n from Book where Reply_id=0 and K", {"1=1"}},
        {"address_tally where User_id=K", "select count(id) as n from Address where User_id=K", users},
        {"user_tally where K", "select count(id) as n from user where K", {"1=1"}},
    };
    auto agree = [&](const char* when) {
        for (const Count& c : counts)
            for (const std::string& k : c.keys) {
                auto with = [&](std::string s) { return s.replace(s.find('K'), 1, k); };
                EXPECT_EQ(site.scalar("select coalesce(sum(num),0) as n from " + with(c.kept), "n"),
                          site.scalar(with(c.counted), "n"))
                    << when << ": " << with(c.kept);
            }
    };
    const std::vector<std::pair<const char*, std::vector<std::string>>> steps = {
        {"after inserts",
         {"insert into Datas(User_id,D_title,Sub_menu) select 1,'t','3102' from user a, user b limit 10",
          "insert into Email(send_user_id,to_user_id,Email_title) select 1,id,'t' from user where id<>1",
          "insert into Email(send_user_id,to_user_id,Email_title) select 1,id,'t' from user where id<>1",
          "insert into Email(send_user_id,to_user_id,Email_title) values (" + a + ",1,'back')",
          "insert into Book(user_id,Book_title,Reply_id) values (1,'one',0),(1,'two',0)",
          "insert into Book(user_id,Book_title,Reply_id) select 1,'re',min(id) from Book",
          "insert into Address(User_id,Name) select " + a + ",'n' from user a, user b, user c limit 12",
          "insert into Address(User_id,Name) values (" + b + ",'n'),(" + b + ",'m')",
          "insert into user(username) values ('carl'),('dora')"}},
        {"after reading and each step of deleting",
         {"update Email set read=1 where id=(select min(id) from Email)",
          "update Email set To_del=1 where id=(select min(id) from Email where to_user_id=" + a + ")",
          "update Email set To_del=2 where id=(select min(id) from Email where to_user_id=" + a + ")",
          "update Email set Send_del=2 where id=(select max(id) from Email where send_user_id=" + a + ")"}},
        {"after moves and other changes",
         {"update Datas set Sub_menu='3103' where id in (select id from Datas limit 3)", "update Datas set D_title='x'",
          "update Email set to_user_id=" + b + ", read=1 where id=(select max(id) from Email)",
          "update Book set Reply_id=0 where Book_title='re'", "update Book set Book_title='x'",
          "update Address set User_id=" + b + " where id in (select id from Address limit 3)",
          "update Address set Name='x'"}},
        {"after null keys",
         {"update Datas set Sub_menu=null where id=(select max(id) from Datas)",
          "update Email set send_user_id=null where id=(select min(id) from Email)",
          "update Email set to_user_id=null where id=(select max(id) from Email)",
          "update Address set User_id=null where id=(select max(id) from Address)"}},
        {"after deletes",
         {"delete from Datas where Sub_menu='3103'", "delete from Email where to_user_id=" + b + " and read=0",
          "delete from Book where id=(select min(id) from Book)", "delete from Address where User_id=" + a,
          "delete from user where username in ('carl','dora')"}},
        {"after deleting all", {"delete from Datas", "delete from Email", "delete from Book", "delete from Address"}},
    };
    for (const auto& [when, sqls] : steps) {
        for (const std::string& sql : sqls) site.exec(sql);
        agree(when);
    }
}
