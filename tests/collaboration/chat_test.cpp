// The chat room: captions, the hundred newest lines, the purge on entering,
// what Chat_Save.asp stores, and the input line.
#include "tests/support/page_test.h"

using namespace tav::test;

namespace {

struct ChatSite : TestSite {
    ChatSite() { login(); }  // the administrator holds the room's right
    void line(const std::string& speaker, const std::string& to, const std::string& text, const std::string& date = "") {
        exec("insert into Chat(user_id,Chat_text,Truename,To_username" + std::string(date.empty() ? "" : ",chat_date") +
             ") values (1,'" + text + "','" + speaker + "','" + to + "'" + (date.empty() ? "" : ",'" + date + "'") +
             ")");
    }
    std::string lines() { return scalar("select count(id) as n from Chat", "n"); }
    std::string last(const std::string& col) { return scalar("select " + col + " from Chat order by id desc", col); }
    // "YYYY-MM-DD 12:00:00", days back from today, as the store writes dates.
    std::string days_ago(int days) {
        return scalar("select strftime('%Y-%m-%d', 'now', 'localtime', '-" + std::to_string(days) +
                          " days') || ' 12:00:00' as d",
                      "d");
    }
};

}  // namespace

TEST(ChatShow, CaptionsToOneselfToAllAndToOne) {
    struct Case { const char* speaker; const char* to; const char* shown; };
    ChatSite site;
    for (const Case& c : std::vector<Case>{{"张三", "张三", ">张三</a> 自言自语：hi<BR>"},
                                           {"张三", " 张三 ", ">张三</a> 自言自语：hi<BR>"},
                                           {"张三", " ", ">张三</a> 说：hi<BR>"},
                                           {"张三", "", ">张三</a> 说：hi<BR>"},
                                           {"张三", "李四", ">张三</a> 对 李四 说：hi<BR>"}}) {
        site.exec("delete from Chat");
        site.line(c.speaker, c.to, "hi");
        expect_texts(site.get("Chat_Show.asp").body, {c.shown, "<a href=\"Chat_input.asp?name=张三\" target=\"f2\">"},
                     {}, std::string("to [") + c.to + "]");
    }
}

TEST(ChatShow, HundredNewestOnTopTheRestKeptAndLinesKeepOnlyFormatting) {
    ChatSite site;
    site.line("a", " ", "<b>bold</b><i>open");
    for (int i = 1; i <= 100; ++i) site.line("a", " ", std::string("line").append(std::to_string(i)).append("."));
    std::string body = site.get("Chat_Show.asp").body;
    EXPECT_EQ(body.rfind("<meta http-equiv=\"REFRESH\" content=\"10\">", 0), 0u);
    EXPECT_EQ(count(body, "<BR>"), 100);
    EXPECT_FALSE(has(body, "bold"));
    EXPECT_LT(body.find("line100."), body.find("line1."));
    EXPECT_EQ(site.lines(), "101");
    site.exec("delete from Chat where id>1");
    EXPECT_TRUE(has(site.get("Chat_Show.asp").body, "<b>bold</b><i>open</i><BR>"));
}

TEST(ChatMain, EnteringPurgesLinesOlderThanYesterday) {
    ChatSite site;
    for (auto [text, days] : {std::pair{"today", 0}, {"yesterday", 1}, {"two days", 2}, {"last month", 30}})
        site.line("a", " ", text, site.days_ago(days));
    EXPECT_EQ(site.lines(), "4");
    site.get("Chat_Show.asp");  // showing purges nothing
    EXPECT_EQ(site.lines(), "4");
    EXPECT_TRUE(has(site.get("Chat_Main.asp").body, "name=\"f2\" src=\"Chat_Input.asp\""));
    EXPECT_EQ(site.scalar("select group_concat(Chat_text, ',') as t from Chat", "t"), "today,yesterday");
}

TEST(ChatSave, StoresTheLineUnderTheAccountsOwnName) {
    struct Case { const char* says; const char* to; const char* stored_to; };
    for (const Case& c : std::vector<Case>{{"  hello  ", "所有人", " "},
                                           {"x", "", " "},
                                           {"x", " 李四 ", "李四"},
                                           {"", "李四", "李四"},  // an empty line is stored too
                                           {"超过十个字的收件人也照存", "一二三四五六七八九十十一", "一二三四五六七八九十十一"}}) {
        ChatSite site;
        std::string uid = add_user(site, "talker", "1203", "pw", "说话人");
        site.login("talker", "pw");
        Reply r = site.post_form("Chat_Save.asp", {{"oldsays", c.says}, {"saystemp", ""}, {"to_username", c.to},
                                                   {"Truename", " 随便谁 "}});
        EXPECT_EQ(r.location(), "Chat_Show.asp") << c.says;
        // The name is the account's, never the posted one.
        EXPECT_EQ(site.last("Chat_text") + "|" + site.last("To_username") + "|" + site.last("Truename") + "|" +
                      site.last("user_id"),
                  std::string(has(c.says, "hello") ? "hello" : c.says) + "|" + c.stored_to + "|说话人|" + uid);
    }
    // A line up to the cap is stored; one character more is refused, saying the cap.
    ChatSite site;
    for (std::size_t n : {1000, 1001}) {
        Reply r = site.post_form("Chat_Save.asp", {{"oldsays", std::string(n - 1, 'x') + "字"}, {"to_username", ""}});
        EXPECT_EQ(r.status, n == 1000 ? 302 : 413) << n;
        EXPECT_EQ(n == 1001, has(r.body, "最多1000个字符")) << n;
    }
    EXPECT_EQ(site.lines(), "1");
    // A quote ends in the report and stores nothing.
    Reply quote = site.post_form("Chat_Save.asp", {{"oldsays", "it's"}, {"to_username", ""}, {"Truename", "x"}});
    EXPECT_NE(quote.status, 302);
    EXPECT_TRUE(has(quote.body, " Error "));
    EXPECT_EQ(site.lines(), "1");
}

TEST(ChatInput, SpeakerFromTheAccountAddresseeFromTheQuery) {
    ChatSite site;
    add_user(site, "talker", "1203", "pw", " 说话人 ");
    site.login("talker", "pw");
    expect_texts(site.get("Chat_Input.asp").body,
                 {"<font color=\"#FFFFFF\">说话人</font> 对 ", "name=\"to_username\" value=\"所有人\"",
                  "name=\"Truename\" value=\"说话人\">"});
    EXPECT_TRUE(has(site.get("Chat_input.asp?name=%20%C0%EE%CB%C4%20").body, "name=\"to_username\" value=\"李四\""));
}
