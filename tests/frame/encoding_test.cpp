#include <gtest/gtest.h>

#include "frame/encoding.h"
#include "frame/host.h"

using namespace tav;

TEST(Encoding, Gb18030RoundTripOfTheSystemsTexts) {
    for (std::string s : {"用户名或密码错误，登录失败，请重新登录！", "　软件版本：2.0　", "登录系统……",
                          "密&nbsp;&nbsp;&nbsp;码", "‘curly’ ” “", "😀 outside GBK"}) {
        std::string gb = utf8_to_gb(s);
        EXPECT_EQ(gb_to_utf8(gb), s);
    }
    EXPECT_EQ(utf8_to_gb("中文"), "\xD6\xD0\xCE\xC4");
    // Runs met before come back converted alike, those that share a start too.
    for (int round = 0; round < 2; ++round)
        for (std::string s : {"中文", "中文字", "中", "a中文b中c", "中文😀"}) EXPECT_EQ(gb_to_utf8(utf8_to_gb(s)), s);
}

TEST(Encoding, BadBytesNeverBreakTheConversion) {
    EXPECT_EQ(gb_to_utf8("a\xFF" "b"), "a\xEF\xBF\xBD" "b");
    EXPECT_EQ(gb_to_utf8("\xD6"), "\xEF\xBF\xBD");  // truncated pair at the end
    EXPECT_EQ(utf8_to_gb("a\xC3"), "a");
    EXPECT_EQ(utf8_to_gb("a\xC3"), "a");  // again, as a run met before
    // Each length at its smallest character and one below it (overlong),
    // a surrogate, and past the last character.
    for (auto [bytes, valid] : {std::pair{"\xC2\x80", true}, {"\xC1\xBF", false}, {"\xE0\xA0\x80", true},
                                {"\xE0\x9F\xBF", false}, {"\xF0\x90\x80\x80", true}, {"\xF0\x8F\xBF\xBF", false},
                                {"\xED\xA0\x80", false}, {"\xF4\x8F\xBF\xBF", true}, {"\xF4\x90\x80\x80", false}})
        EXPECT_EQ(is_valid_utf8(bytes), valid) << bytes;
    EXPECT_TRUE(is_valid_utf8("路径"));
}

TEST(Encoding, PercentDecoding) {
    EXPECT_EQ(percent_decode("a+b%20c", true), "a b c");
    EXPECT_EQ(percent_decode("a+b", false), "a+b");
    EXPECT_EQ(gb_to_utf8(percent_decode("%D6%D0%CE%C4", true)), "中文");
    EXPECT_EQ(gb_to_utf8(percent_decode("%u4E2D%u6587x", true)), "中文x");
    EXPECT_EQ(percent_decode("100%", true), "100%");
    EXPECT_EQ(percent_decode("%zz%4", true), "%zz%4");
    EXPECT_EQ(percent_decode("%u12", true), "%u12");
}

TEST(Encoding, LocationEscapesOnlyNonAsciiBytes) {
    std::string loc = percent_escape(utf8_to_gb("Pop_OK.asp?message=删除成功！&next_href=a.asp?x=1#y"), "", true);
    EXPECT_EQ(loc.find_first_of("\x80\xFF"), std::string::npos);
    EXPECT_NE(loc.find("&next_href=a.asp?x=1#y"), std::string::npos);
    EXPECT_EQ(loc.rfind("Pop_OK.asp?message=%C9%BE%B3%FD", 0), 0u);
    EXPECT_EQ(percent_escape("a b&c%\x7F\xC9=", "&%"), "a%20b%26c%25%7F\xC9=");  // a query value
}

TEST(Params, NamesWithoutCaseAndRepeatsJoined) {
    ParamList p;
    p.parse("ID=3&id=4&P=2&name=%D6%D0&empty=&flag&x=a%2Bb+c");
    EXPECT_EQ(p.get("id").str(), "3, 4");
    EXPECT_EQ(p.get("p").str(), "2");
    EXPECT_EQ(p.get("NAME").str(), "中");
    EXPECT_TRUE(p.get("empty").is_text());
    EXPECT_EQ(p.get("empty").str(), "");
    EXPECT_TRUE(p.get("missing").is_empty());
    EXPECT_TRUE(p.get("flag").is_text());
    EXPECT_EQ(p.get("x").str(), "a+b c");
}
