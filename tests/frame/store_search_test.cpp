// Substring search through the store: the condition text_contains builds
// gives exactly the rows of the plain like, whether the text index answers
// it or the table is read, and the index follows every change of the rows.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "frame/errors.h"
#include "frame/store.h"
#include "frame/store_search.h"
#include "tests/support/files.h"

namespace fs = std::filesystem;
using namespace tav;

namespace {

class TextSearch : public ::testing::Test {
protected:
    void SetUp() override {
        build_database(db, test::slurp(fs::path(TAVELOR_TEMPLATE_DIR) / "datebase" / "schema.sql"));
        conn.Open("dbq=" + db);
    }
    void TearDown() override { conn.close(); }
    std::string ids(const Sql& sql) {
        std::string out;
        for (Recordset rs = conn.execute(sql); !rs.eof(); rs.movenext()) out += rs("id").str() + ",";
        return out;
    }
    // The rows of the condition against those of the plain like, for every term.
    void expect_same_rows(const char* table, std::initializer_list<std::string_view> columns,
                          const std::vector<std::string>& terms, const std::string& when) {
        for (const std::string& t : terms) {
            Sql plain = "select id from "_sql + Sql::trusted(table) + " where ";
            bool first = true;
            for (std::string_view c : columns) {
                plain += first ? "" : " or ";
                plain += Sql::trusted(c) + " like '%" + t + "%'";
                first = false;
            }
            Sql found = text_contains(table, columns, t);
            std::string want = ids(plain + " order by id");
            EXPECT_EQ(ids("select id from "_sql + Sql::trusted(table) + " where " + found + " order by id"), want)
                << when << ": " << t << " -> " << found.joined();
        }
    }

    test::TempDir dir{"tav_search"};
    std::string db = (dir / "office.mdb").string();
    Connection conn;
};

// Terms of one, two and three or more characters, Chinese and Latin, with the
// like wildcards, in other capitals, and letters whose case only ASCII folds.
const std::vector<std::string> kTerms = {
    "报", "a", "%", "_", "报告", "Au", "%_", "年度审", "审计报告", "AUDIT", "audit", "dit rep", "50%",
    "5_%", "a_c", "ab%yz", "报_审", "xyz%abc", "École", "école", "ÉCOLE", "</script>", "ｆｕｌｌ", "  ",
};

TEST_F(TextSearch, SameRowsAsThePlainLikeAfterEveryChange) {
    const char* titles[] = {"年度审计报告",  "Audit report 50% done", "AUDIT Report", "abc xyz",     "xyz abc",
                            "a_c and abc",   "école de nuit",         "École du jour", "5_% rate",   "</script><b>",
                            "ｆｕｌｌwidth", "报告",                  "审计",          "two  blanks"};
    for (const char* t : titles)
        conn.execute("insert into Datas(D_title, Sub_menu) values ('"_sql + std::string(t) + "', '3110')");
    conn.execute("insert into Datas(D_title, Sub_menu) values (null, '3110')");
    expect_same_rows("Datas", {"D_title"}, kTerms, "inserted");
    // Through the index, in other capitals, and only where the like finds it.
    EXPECT_EQ(ids("select id from Datas where "_sql + text_contains("Datas", {"D_title"}, "aUdIt") + " order by id"),
              "2,3,");

    conn.execute("update Datas set D_title='审计之外' where D_title='年度审计报告'");
    conn.execute("update Datas set D_title='年度审计报告二' where D_title='报告'");
    conn.execute("delete from Datas where D_title like 'AUDIT%'");
    conn.execute("update Datas set id=id+100 where D_title='abc xyz'");
    expect_same_rows("Datas", {"D_title"}, kTerms, "changed");

    // The index holds nothing the rows do not: a term only a deleted or
    // changed title had finds nothing.
    EXPECT_EQ(ids("select id from Datas where "_sql + text_contains("Datas", {"D_title"}, "Report") + ""), "");
    conn.execute("delete from Datas");
    expect_same_rows("Datas", {"D_title"}, kTerms, "emptied");
}

TEST_F(TextSearch, MailTitleAndBodyTogether) {
    struct Mail {
        const char* title;
        const char* body;
    } mails[] = {{"季度预算", "<p>请审阅附件中的预算表</p>"},
                 {"Budget", "see the ATTACHED sheet"},
                 {"无关", nullptr},
                 {nullptr, "预算 in the body only"}};
    for (const Mail& m : mails)
        conn.execute("insert into Email(send_user_id, to_user_id, Email_title, Email_text) values (1, 2, "_sql +
                     (m.title ? "'"_sql + std::string(m.title) + "'" : "null"_sql) + ", " +
                     (m.body ? "'"_sql + std::string(m.body) + "'" : "null"_sql) + ")");
    expect_same_rows("Email", {"Email_title", "Email_text"}, kTerms, "two columns");
    expect_same_rows("Email", {"Email_title", "Email_text"}, {"预算", "预算表", "attached", "<p>", "the body"},
                     "two columns");
    expect_same_rows("Email", {"Email_title"}, {"预算", "季度预算", "budget"}, "title");
    conn.execute("update Email set Email_text='nothing here' where Email_title='Budget'");
    expect_same_rows("Email", {"Email_title", "Email_text"}, {"attached", "nothing"}, "body changed");
}

TEST_F(TextSearch, IndexOnlyForATermWithThreeCharactersBetweenWildcards) {
    struct Case {
        const char* table;
        std::initializer_list<std::string_view> columns;
        std::string term;
        bool indexed;
    } cases[] = {
        {"Datas", {"D_title"}, "abc", true},       {"Datas", {"D_title"}, "报告书", true},
        {"Datas", {"D_title"}, "报告", false},     {"Datas", {"D_title"}, "ab%cd_ef", false},
        {"Datas", {"D_title"}, "ab%cde", true},    {"Email", {"Email_title", "Email_text"}, "季度预", true},
        {"Datas", {"D_text"}, "abcdef", false},    {"user", {"truename"}, "张三丰", false},
        {"Email", {"Email_title", "D_title"}, "abcd", false},
    };
    for (const Case& c : cases) {
        std::string text = text_contains(c.table, c.columns, c.term).joined();
        EXPECT_EQ(text.find("_fts") != std::string::npos, c.indexed) << text;
    }
    // Names are program text: only plain ones pass.
    EXPECT_THROW(text_contains("Datas", {"D_title) or (1"}, "x"), std::logic_error);
    EXPECT_THROW(text_contains("Datas;", {"D_title"}, "x"), std::logic_error);
}

TEST_F(TextSearch, HostileTermsAreValues) {
    conn.execute("insert into Datas(D_title) values ('x'' or 1=1')");
    // A term is bound, so it never becomes program text; an apostrophe fails
    // the statement as in any quoted literal.
    EXPECT_THROW(conn.execute("select id from Datas where "_sql + text_contains("Datas", {"D_title"}, "' or 1=1 --")),
                 PageError);
    EXPECT_EQ(ids("select id from Datas where "_sql + text_contains("Datas", {"D_title"}, "or 1=1) --")), "");
    EXPECT_EQ(ids("select id from Datas where "_sql + text_contains("Datas", {"D_title"}, "\" or \"\"=\"")), "");
    std::string huge(200000, 'x');
    EXPECT_EQ(ids("select id from Datas where "_sql + text_contains("Datas", {"D_title"}, huge)), "");
    EXPECT_EQ(ids("select id from Datas where "_sql + text_contains("Datas", {"D_title"}, huge.substr(0, 1))), "1,");
    // The index looks up only the start of a long run; the rows stay exact.
    const std::string a(40, 'a');
    conn.execute("insert into Datas(D_title) values ('"_sql + (a + "b") + "')");
    conn.execute("insert into Datas(D_title) values ('"_sql + (a + "c") + "')");
    EXPECT_EQ(ids("select id from Datas where "_sql + text_contains("Datas", {"D_title"}, a + "c")), "3,");
}

TEST_F(TextSearch, TheIndexTablesAreNoNamesForRequests) {
    // A table or column name from a request is one of the schema's own; the
    // index's tables would read (or, with a page's delete, break) the index.
    EXPECT_EQ(ids("select id from "_sql + sql_name(Value("Datas")) + " where id=0"), "");
    struct Case {
        const char* before;
        const char* name;
        const char* after;
    } cases[] = {{"select * from ", "Datas_fts", ""},
                 {"select * from ", "datas_fts_data", ""},
                 {"select * from ", "Email_fts_idx", ""},
                 {"select ", "block", " as id from Datas_fts_data"},
                 {"select ", "segid", " as id from Email_fts_idx"}};
    for (const Case& c : cases)
        EXPECT_THROW(conn.execute(Sql::trusted(c.before) + sql_name(Value(c.name)) + c.after), PageError) << c.name;
    // The same statements with the names as program text run: the refusal is the name's.
    for (const Case& c : cases) EXPECT_NO_THROW(conn.execute(Sql::trusted(std::string(c.before) + c.name + c.after)));
}

}  // namespace
