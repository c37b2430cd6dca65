// tavelor import, run as a program against an old site whose database is
// read by stand-in mdb-tables/mdb-export scripts that print fixtures in the
// tool's own output format (no program on Debian writes an .mdb file).
#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <functional>

#include "frame/encoding.h"
#include "frame/password.h"
#include "server/import.h"
#include "tests/support/files.h"
#include "tests/support/sqlite_file.h"

namespace fs = std::filesystem;
using tav::utf8_to_gb;

namespace {

using tav::test::slurp;
using tav::test::put_file;

// A text value as mdb-export prints it: in GBK, quoted, quotes doubled.
std::string q(const std::string& utf8) {
    std::string out = "\"";
    for (char c : utf8_to_gb(utf8)) out += c == '"' ? std::string("\"\"") : std::string(1, c);
    return out + "\"";
}

// An old site, its stand-in tools and a place for the new one.
class OldSite {
public:
    OldSite() {
        put_file(old() / "datebase" / "office.mdb", "not read by the stand-in tools");
        put_file(bin() / "mdb-tables", "#!/bin/sh\n/bin/cat '" + (base_ / "tables").string() + "'\n");
        // Records its arguments and environment, prints the table's fixture.
        put_file(bin() / "mdb-export", "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + (base_ / "args").string() +
                                       "'\necho \"$MDBICONV\" >> '" + (base_ / "args").string() +
                                       "'\nfor a; do t=$a; done\nexec /bin/cat '" + (base_ / "export").string() +
                                       "'/\"$t\".csv\n");
        fs::permissions(bin() / "mdb-tables", fs::perms::owner_all);
        fs::permissions(bin() / "mdb-export", fs::perms::owner_all);
    }
    fs::path old() const { return base_ / "old"; }
    fs::path bin() const { return base_ / "bin"; }
    fs::path base() const { return base_; }
    fs::path fresh() const { return base_ / "new"; }

    void tables(const std::vector<std::string>& names) {
        std::string list;
        for (const auto& n : names) list += n + "\n";
        put_file(base_ / "tables", list);
    }
    void table(const std::string& name, const std::string& csv) { put_file(base_ / "export" / (name + ".csv"), csv); }
    // A file of the old site whose name is given in UTF-8 and stored in GBK.
    void file(const std::string& rel_utf8, const std::string& content) { put_file(old() / utf8_to_gb(rel_utf8), content); }

    // Runs the program; its exit status, stdout in out, stderr in err.
    int import(std::string& out, std::string& err, const std::string& extra = "", fs::path target = {}) {
        if (target.empty()) target = fresh();
        std::string cmd = "PATH='" + bin().string() + "' '" TAVELOR_BINARY "' import '" + old().string() +
                          "' '" + target.string() + "' --template '" TAVELOR_TEMPLATE_DIR "' " + extra + " >'" +
                          (base_ / "out").string() + "' 2>'" + (base_ / "err").string() + "'";
        int rc = std::system(cmd.c_str());
        out = slurp(base_ / "out");
        err = slurp(base_ / "err");
        return WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    }
    // Names in the base folder other than the fixtures': leftovers of a run.
    std::vector<std::string> made() const {
        std::vector<std::string> out;
        for (const auto& e : fs::directory_iterator(base_)) {
            std::string n = e.path().filename().string();
            if (n != "old" && n != "bin" && n != "export" && n != "tables" && n != "args" && n != "out" && n != "err")
                out.push_back(n);
        }
        return out;
    }

private:
    tav::test::TempDir tmp_{"tav-import"};
    fs::path base_ = tmp_.path();
};

// The file's value of a statement, read straight from it.
struct Db {
    std::string file;
    std::string one(const std::string& sql) const { return tav::test::sqlite_value(file, sql); }
    void exec(const std::string& sql) const { tav::test::sqlite_exec(file, sql); }
};

std::string long_body() {
    std::string s;
    // Past the most mdb-export gives of one value, in GBK as well.
    while (s.size() < 330000) s += "长篇正文，第二行\r\n\"引号\"";
    return s;
}

// The old site of the main test: GBK text and names, dates, empty strings,
// a long body, quotes and newlines in values, hostile names.
void fill(OldSite& site) {
    site.tables({"user", "Email", "Datas", "Medium", "software", "Old_Stuff", "../../etc/passwd"});
    site.table("user",
               "id,username,password,TrueName,DepartMentID,Legacy_col\n"
               "1,\"admin\",\"secret\"," + q("系统管理员") + ",1,\"x\"\n"
               "7," + q("张三") + ",\"pass1\"," + q("张三") + ",2,\n");
    std::string body = long_body();
    site.table("Email",
               "id,send_user_id,to_user_id,Email_title,Email_text,Email_doc,email_date,email_time,read\n"
               "5,1,7," + q("他说\"好\"") + "," + q("第一行,\n</script>第二行") + "," + q("51报告.doc*52Data.TXT") +
                   ",\"2003-05-01 00:00:00\",\"1899-12-30 08:15:00\",1\n"
               "9,7,1,," + q(body) + ",\"0\",\"2003-05-02 00:00:00\",\"1899-12-30 23:59:59\",0\n"
               "abc,1,1,\"bad id\",\"\",\"0\",,,0\n"
               "1000,1,7,\"last\",\"\",\"0\",,,0\n");
    site.table("Datas",
               "id,User_id,D_title,D_text,D_afile,Sub_menu,Main_menu,D_date\n"
               "3,1," + q("方案") + ",\"\"," + q("3方案.doc") + ",\"11\",\"menu11\",\"2004-01-02 10:11:12\"\n"
               "4,1,\"up\",\"\",\"../../../etc/passwd\",\"11\",\"menu11\",\"2004-01-02 10:11:12\"\n"
               "6,1,\"bs\",\"\",\"a\\b.txt\",\"11\",\"menu11\",\"2004-01-02 10:11:12\"\n");
    site.table("Medium", "id,Title,Path,filename,file_type\n"
                         "2," + q("歌") + ",\"/Medium/\"," + q("歌曲.MP3") + ",\"audio\"\n");
    site.table("software", "id,softname,Hardserial\n"
                           "1,\"username\"," + q("老单位") + "\n"
                           "2,\"music\",\"\"\n");
    site.file("Datas/11/3方案.doc", "doc");
    site.file("Email/51报告.doc", "mail1");
    site.file("Email/52data.txt", "mail2");
    site.file("user/张三/笔记.txt", "note");
    site.file("Medium/歌曲.mp3", "mp3");
    site.file("Datas/11/a\\b.txt", "backslash");
    site.file("Datas/11/..\\..\\evil.txt", "evil");
    put_file(site.old() / "Datas" / "11" / "\xff\xfe.txt", "unreadable");
    fs::create_symlink("/etc/passwd", site.old() / "Email" / "link");
}

}  // namespace

TEST(ImportParse, ReadsTheToolsOutputBackExactly) {
    struct Case {
        const char* in;
        std::vector<std::vector<std::pair<std::string, bool>>> rows;  // text, quoted
    };
    const Case cases[] = {
        {"a,b\n1,\"x\"\n", {{{"a", false}, {"b", false}}, {{"1", false}, {"x", true}}}},
        {"1,,\"\"\n", {{{"1", false}, {"", false}, {"", true}}}},                      // NULL vs quoted empty
        {"\"he said \"\"hi\"\"\",\"a,b\nc\"\n", {{{"he said \"hi\"", true}, {"a,b\nc", true}}}},
        {"\"x\r\ny\",2\r\n", {{{"x\r\ny", true}, {"2", false}}}},                       // CR kept inside quotes only
        {"1,2", {{{"1", false}, {"2", false}}}},                                        // no final newline
        {"", {}},
    };
    for (const auto& c : cases) {
        auto rows = tav::import::parse_export(c.in);
        ASSERT_EQ(rows.size(), c.rows.size()) << c.in;
        for (std::size_t r = 0; r < rows.size(); ++r) {
            ASSERT_EQ(rows[r].size(), c.rows[r].size()) << c.in;
            for (std::size_t f = 0; f < rows[r].size(); ++f) {
                EXPECT_EQ(rows[r][f].text, c.rows[r][f].first) << c.in;
                EXPECT_EQ(rows[r][f].quoted, c.rows[r][f].second) << c.in;
            }
        }
    }
    EXPECT_THROW(tav::import::parse_export("1,\"never closed\n2,3\n"), std::runtime_error);
}

TEST(Import, MovesRowsFilesAndPasswordsIn) {
    OldSite site;
    fill(site);
    std::string out, err;
    ASSERT_EQ(site.import(out, err), 0) << out << err;
    EXPECT_EQ(site.made(), std::vector<std::string>{"new"});
    fs::path nd = site.fresh();
    const Db db{(nd / "datebase" / "office.mdb").string()};

    // The tool was asked for dates in full and for the code page's text.
    std::string args = slurp(site.base() / "args");
    EXPECT_NE(args.find("-D\n%Y-%m-%d %H:%M:%S\n-T\n%Y-%m-%d %H:%M:%S\n"), std::string::npos) << args;
    EXPECT_NE(args.find("GB18030\n"), std::string::npos) << args;

    // Rows in UTF-8 with their ids; old rows replace the new site's first ones.
    EXPECT_EQ(db.one("select count(*) from user"), "2");
    EXPECT_EQ(db.one("select TrueName from user where id=1"), "系统管理员");
    EXPECT_EQ(db.one("select username from user where id=7"), "张三");
    EXPECT_EQ(db.one("select Hardserial from software where softname='username'"), "老单位");
    EXPECT_EQ(db.one("select Email_title from Email where id=5"), "他说\"好\"");
    EXPECT_EQ(db.one("select Email_text from Email where id=5"), "第一行,\n</script>第二行");
    EXPECT_EQ(db.one("select Email_text from Email where id=9"), long_body());
    EXPECT_EQ(db.one("select Email_title from Email where id=9"), "");  // the tool's NULL in a text column
    EXPECT_EQ(db.one("select email_date || ' ' || email_time from Email where id=5"), "2003-05-01 08:15:00");
    EXPECT_EQ(db.one("select D_date from Datas where id=3"), "2004-01-02 10:11:12");
    EXPECT_EQ(db.one("select coalesce(email_date, 'null') from Email where id=1000"), "null");
    EXPECT_EQ(db.one("select count(*) from Email"), "3");  // the row with id "abc" fails the key
    EXPECT_EQ(db.one("select num from email_tally where user_id=7 and folder=0"), "2");  // triggers ran

    // Passwords hashed as a login would.
    for (const auto& [id, clear] : {std::pair{"1", "secret"}, {"7", "pass1"}}) {
        std::string stored = db.one(std::string("select password from user where id=") + id);
        EXPECT_TRUE(tav::password::is_hash(stored)) << stored;
        EXPECT_TRUE(tav::password::matches(clear, stored));
        EXPECT_NE(stored.find("$m=65536,t=2,"), std::string::npos) << stored;  // the working cost, not the tests'
    }

    // A new row gets an id past the old ones.
    db.exec("insert into Email(Email_title) values ('new')");
    EXPECT_EQ(db.one("select id from Email where Email_title='new'"), "1001");
    db.exec("insert into Datas(D_title) values ('new')");
    EXPECT_EQ(db.one("select id from Datas where D_title='new'"), "7");

    // Files under UTF-8 names; rows renamed to match; nothing outside.
    struct FileCase {
        const char* rel;
        const char* content;  // nullptr: must not exist
    };
    const FileCase files[] = {
        {"Datas/11/3方案.doc", "doc"},     {"Email/51报告.doc", "mail1"},  {"Email/52data.txt", "mail2"},
        {"user/张三/笔记.txt", "note"},    {"Medium/歌曲.mp3", "mp3"},     {"Datas/11/a_b.txt", "backslash"},
        {"Datas/11/.._.._evil.txt", "evil"}, {"Email/link", nullptr},
    };
    for (const auto& f : files) {
        if (f.content) EXPECT_EQ(slurp(nd / f.rel), f.content) << f.rel;
        else EXPECT_FALSE(fs::exists(fs::symlink_status(nd / f.rel))) << f.rel;
    }
    EXPECT_FALSE(fs::exists(site.base() / "evil.txt"));
    EXPECT_FALSE(fs::exists(nd.parent_path().parent_path() / "evil.txt"));
    EXPECT_EQ(db.one("select Email_doc from Email where id=5"), "51报告.doc*52data.txt");
    EXPECT_EQ(db.one("select D_afile from Datas where id=6"), "a_b.txt");
    EXPECT_EQ(db.one("select D_afile from Datas where id=4"), "../../../etc/passwd");
    EXPECT_EQ(db.one("select filename from Medium where id=2"), "歌曲.mp3");

    // The summary names what was left out and why.
    for (const char* said : {"Email: 3", "files copied: 7", "Old_Stuff: no such table", "../../etc/passwd: no such table",
                             "user.Legacy_col: no such column", "Email id abc:", "\\xFF\\xFE.txt: the name is no GBK",
                             "Email/link: a link", "Datas/11/a\\b.txt -> Datas/11/a_b.txt", "outside the upload folders",
                             "Email id 9 Email_text: 2", "the value may be cut"})
        EXPECT_NE(out.find(said), std::string::npos) << said << "\n" << out;
    EXPECT_EQ(err, "");  // no progress line when stderr is no terminal
}

TEST(Import, FailsWithoutLeavingAnything) {
    struct Case {
        const char* what;
        std::function<void(OldSite&)> spoil;
        const char* said;
    };
    const Case cases[] = {
        {"the tool fails on a table", [](OldSite& s) { fs::remove(s.base() / "export" / "Datas.csv"); }, "mdb-export failed"},
        {"output cut inside a value", [](OldSite& s) { s.table("Medium", "id,Title\n1,\"cut"); }, "ends inside a quoted"},
        {"no tools on PATH", [](OldSite& s) { fs::remove(s.bin() / "mdb-tables"); }, "could not be run"},
        {"unknown code page", [](OldSite&) {}, "unknown code page"},
        {"target not empty", [](OldSite& s) { put_file(s.fresh() / "keep.txt", "mine"); }, "exists and is not an empty"},
    };
    for (const auto& c : cases) {
        OldSite site;
        fill(site);
        c.spoil(site);
        bool occupied = fs::exists(site.fresh());
        std::string out, err;
        EXPECT_EQ(site.import(out, err, std::string(c.what) == "unknown code page" ? "--code-page NO-SUCH" : ""), 1)
            << c.what;
        EXPECT_NE(err.find(c.said), std::string::npos) << c.what << ": " << err;
        EXPECT_EQ(site.made(), occupied ? std::vector<std::string>{"new"} : std::vector<std::string>{}) << c.what;
        if (occupied) {
            EXPECT_EQ(slurp(site.fresh() / "keep.txt"), "mine");
        }
    }
    std::string out, err;
    {
        // Inside the old site the new one would be copied into itself.
        OldSite site;
        fill(site);
        EXPECT_EQ(site.import(out, err, "", site.old() / "Datas" / "new"), 1);
        EXPECT_NE(err.find("lies inside"), std::string::npos) << err;
        std::size_t entries = 0;
        for (const auto& e : fs::directory_iterator(site.old() / "Datas")) entries += e.path().filename() != "11";
        EXPECT_EQ(entries, 0u);
    }
    // An empty folder is taken.
    OldSite site;
    fill(site);
    fs::create_directories(site.fresh());
    EXPECT_EQ(site.import(out, err), 0) << err;
    EXPECT_TRUE(fs::exists(site.fresh() / "datebase" / "office.mdb"));
}
