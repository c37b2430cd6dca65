#include <gtest/gtest.h>

#include "frame/errors.h"
#include "frame/value.h"
#include "frame/vb.h"

using namespace tav;

TEST(Value, JoinsAsTextWithEmptyAndNullAsNothing) {
    EXPECT_EQ("id=" + Value(), "id=");
    EXPECT_EQ("id=" + Value::null(), "id=");
    EXPECT_EQ("id=" + Value(12), "id=12");
    EXPECT_EQ("n=" + Value(2.5), "n=2.5");
    EXPECT_EQ(Value(-0.0).str(), "0");
    EXPECT_EQ("n=" + Value(-7), "n=-7");
    EXPECT_EQ(Value(999999999999999.0).str(), "999999999999999");
    EXPECT_EQ(Value("中文") + "!", "中文!");
}

TEST(Value, ComparesNumericallyWithNumbersAndFailsOnOtherText) {
    EXPECT_TRUE(Value("10") == Value(10));
    EXPECT_TRUE(Value(" 3 ") < Value(4));
    EXPECT_TRUE(Value() == Value(0));        // an absent parameter counts as 0
    EXPECT_TRUE(Value("-1") < Value(0));
    EXPECT_THROW((void)(Value("abc") < Value(0)), PageError);
    EXPECT_THROW((void)(Value("") == Value(0)), PageError);
    try {
        (void)(Value("x") == Value(1));
    } catch (const PageError& e) {
        EXPECT_EQ(e.number(), err::type_mismatch);
        EXPECT_STREQ(e.what(), "Type mismatch");
    }
}

TEST(Value, ComparesTextsAsTexts) {
    EXPECT_TRUE(Value("1") == Value("1"));
    EXPECT_FALSE(Value("01") == Value("1"));
    EXPECT_TRUE(Value() == Value(""));
    EXPECT_TRUE(Value("a") < Value("b"));
}

TEST(Value, NullComparesToNothingAndIsFalse) {
    Value n = Value::null();
    EXPECT_FALSE(n == Value(""));
    EXPECT_FALSE(n != Value(""));
    EXPECT_FALSE(n == Value(0));
    EXPECT_FALSE(n.truth());
    EXPECT_FALSE(n.blank());
    EXPECT_THROW(n.text(), PageError);
    EXPECT_THROW(n.num(), PageError);
}

TEST(Value, TruthOfTexts) {
    EXPECT_TRUE(Value("True").truth());
    EXPECT_FALSE(Value("false").truth());
    EXPECT_TRUE(Value("2").truth());
    EXPECT_FALSE(Value(0).truth());
    EXPECT_THROW(Value("yes").truth(), PageError);
}

TEST(Vb, TrimKeepsNullAndCountsCharacters) {
    EXPECT_TRUE(Trim(Value::null()).is_null());
    EXPECT_EQ(Trim(Value("  审计 ")).str(), "审计");
    EXPECT_EQ(Len(Value("审计系统通用")), 6);
    EXPECT_EQ(Len(Value::null()), 0);
    EXPECT_EQ(Left(Value("审计系统"), 2), "审计");
    EXPECT_EQ(Right(Value("审计系统"), 1), "统");
    EXPECT_EQ(Mid(Value("审计系统"), 2, 2), "计系");
    EXPECT_EQ(Mid(Value("abc"), 5), "");
    EXPECT_EQ(Mid(Value("审计系统"), 3), "系统");
    EXPECT_EQ(Mid(Value("审计系统"), 4, 9), "统");
    EXPECT_EQ(Mid(Value("审计系统"), 2, 0), "");
    EXPECT_EQ(Left(Value("审计"), 5), "审计");
    EXPECT_EQ(Right(Value("审计"), 5), "审计");
    EXPECT_THROW(Left(Value("abc"), -1), PageError);
}

TEST(Vb, InStrIsOneBasedBinaryAndCharacterCounted) {
    EXPECT_EQ(InStr(Value("a b c"), Value("b")), 3);
    EXPECT_EQ(InStr(Value("审计ab"), Value("ab")), 3);
    EXPECT_EQ(InStr(Value("ABC"), Value("b")), 0);  // case matters
    EXPECT_EQ(InStr(2, Value("|12|30|"), Value("|")), 4);
    EXPECT_EQ(InStr(Value("i1905 x"), Value("1905")), 2);  // a code inside a longer code
    EXPECT_EQ(InStr(Value("model"), Value("del")), 3);
    EXPECT_EQ(InStr(Value::null(), Value("x")), 0);
    EXPECT_EQ(InStrRev(Value("C:\\a\\b.gif"), Value("\\")), 5);
    EXPECT_EQ(InStr(3, Value("审|计|"), Value("|")), 4);
    EXPECT_EQ(InStr(9, Value("审计"), Value("计")), 0);
    EXPECT_EQ(InStrRev(Value("审|计|统"), Value("|")), 4);
    EXPECT_EQ(InStr(Value("审"), Value("\xae")), 0);  // a byte inside a character is no match
}

TEST(Vb, ReplaceFailsOnNullAndSplitKeepsEmptyParts) {
    EXPECT_THROW(Replace(Value::null(), "a", "b"), PageError);
    EXPECT_EQ(Replace(Value("a'b'c"), "'", "‘"), "a‘b‘c");
    auto parts = Split(Value("a**b"), "*");
    ASSERT_EQ(parts.size(), 3u);
    EXPECT_EQ(parts[1], "");
    EXPECT_TRUE(Split(Value(""), "*").empty());
    EXPECT_EQ(Split(Value("0"), "*").size(), 1u);
}

TEST(Vb, Numbers) {
    EXPECT_TRUE(IsNumeric(Value(" 12.5 ")));
    EXPECT_FALSE(IsNumeric(Value("12a")));
    EXPECT_FALSE(IsNumeric(Value("0x10")));
    EXPECT_EQ(Int(Value(25) .num() / 10), 2);
    EXPECT_EQ(Int(Value(-2.5)), -3);
    EXPECT_EQ(CInt(Value("3101")), 3101);
    EXPECT_THROW(CInt(Value("40000")), PageError);
    EXPECT_EQ(CLng(Value("2.5")), 2);  // rounds half to even
}
