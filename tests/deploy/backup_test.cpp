// tavelor backup, restore and check, run as the program.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <set>
#include <thread>

#include "frame/sql.h"
#include "frame/store.h"
#include "server/backup.h"
#include "server/instance.h"
#include "tests/support/files.h"
#include "tests/support/served_site.h"

using namespace tav;
namespace fs = std::filesystem;

namespace {

using test::slurp;
using test::put_file;

// The program's exit status for its arguments, its output in out.
int run(const std::string& args, std::string* out = nullptr) {
    auto r = test::run_command(std::string(TAVELOR_BINARY) + " " + args);
    if (out) *out = r.out;
    return r.status;
}

std::string q(const fs::path& p) { return "'" + p.string() + "'"; }

// Every path below root, folders with a trailing slash.
std::set<std::string> tree(const fs::path& root) {
    std::set<std::string> out;
    if (!fs::exists(root)) return out;
    for (auto it = fs::recursive_directory_iterator(root); it != fs::recursive_directory_iterator(); ++it)
        out.insert(fs::relative(it->path(), root).string() + (it->is_directory() ? "/" : ""));
    return out;
}

struct Sandbox {
    test::TempDir tmp{"tavelor_backup"};
    fs::path dir = tmp.path();
    fs::path site(const std::string& name) {
        init_site((dir / name).string(), TAVELOR_TEMPLATE_DIR);
        return dir / name;
    }
};

Connection open_db(const fs::path& site) {
    Connection c;
    c.Open("driver={Microsoft Access Driver (*.mdb)};dbq=" + (site / "datebase" / "office.mdb").string());
    return c;
}

std::vector<TarReader::Entry> entries_of(const fs::path& tar) {
    int fd = ::open(tar.c_str(), O_RDONLY);
    TarReader r(fd);
    std::vector<TarReader::Entry> out;
    TarReader::Entry e;
    while (r.next(e)) out.push_back(e);
    ::close(fd);
    return out;
}

}  // namespace

TEST(Backup, WhileClientsWriteHoldsEveryAcknowledgedWriteAndRestoresToAWorkingSite) {
    Sandbox box;
    fs::path live = box.site("live");
    // Names only pax headers carry: UTF-8, longer than a ustar name, exactly
    // its size; an empty file and an empty folder.
    const std::string long_utf8 = std::string(30, 'n') + "季度报告季度报告季度报告季度报告季度报告季度报告.txt";
    const std::map<std::string, std::string> kept = {
        {"user/admin/" + long_utf8, "报告内容"},
        {"user/admin/" + std::string(150, 'a') + ".bin", std::string(70000, '\x7f')},
        {"user/admin/" + std::string(100 - 11 - 4, 'b') + ".txt", "exactly one hundred bytes of name"},
        {"user/admin/empty.txt", ""},
    };
    for (const auto& [name, bytes] : kept) put_file(live / name, bytes);
    fs::create_directories(live / "user" / "nobody");

    // Clients write as the send page does: the attachment first, then the row.
    constexpr int kWriters = 3;
    std::atomic<bool> stop{false};
    std::atomic<int> acked[kWriters];
    for (auto& a : acked) a = -1;
    std::vector<std::thread> writers;
    for (int t = 0; t < kWriters; ++t)
        writers.emplace_back([&, t] {
            Connection db = open_db(live);
            for (int i = 0; !stop; ++i) {
                std::string name = std::to_string(t) + "_" + std::to_string(i) + "附件.txt";
                put_file(live / "Email" / name, "mail " + name);
                db.execute(Sql::trusted("insert into Email(send_user_id,to_user_id,Email_title,Email_doc) values "
                                        "(1,1,'w" + std::to_string(t) + "-" + std::to_string(i) + "','" + name + "')"));
                if (i % 5 == 0) {
                    std::string afile = std::to_string(i) + "资料.doc";
                    put_file(live / "Datas" / "1101" / afile, "item");
                    db.execute(Sql::trusted("insert into Datas(User_id,d_afile,D_title,Sub_menu,Main_menu) values "
                                            "(1,'" + afile + "','d" + std::to_string(t) + "','1101','menu11')"));
                }
                acked[t] = i;
            }
        });
    for (auto& a : acked)
        while (a < 20) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    int before[kWriters];
    for (int t = 0; t < kWriters; ++t) before[t] = acked[t];
    std::string out;
    int rc = run("backup " + q(live) + " " + q(box.dir / "site.tar"), &out);
    int after[kWriters];
    for (int t = 0; t < kWriters; ++t) after[t] = acked[t];
    stop = true;
    for (auto& w : writers) w.join();
    ASSERT_EQ(rc, 0) << out;
    EXPECT_NE(out.find("rows"), std::string::npos) << out;
    // Nothing of the work stays beside the archive (the copy's side files neither).
    for (const auto& e : fs::directory_iterator(box.dir))
        EXPECT_FALSE(e.path().filename().string().starts_with("site.tar.")) << e.path();
    bool overlapped = false;
    for (int t = 0; t < kWriters; ++t) overlapped |= after[t] > before[t];
    EXPECT_TRUE(overlapped) << "no write ran during the backup";

    std::set<std::string> names;
    for (const auto& e : entries_of(box.dir / "site.tar")) names.insert(e.name);
    EXPECT_TRUE(names.count("datebase/office.mdb"));
    for (const char* side : {"datebase/office.mdb-wal", "datebase/office.mdb-shm"}) EXPECT_FALSE(names.count(side));

    fs::path back = box.dir / "restored";
    ASSERT_EQ(run("restore " + q(box.dir / "site.tar") + " " + q(back), &out), 0) << out;
    EXPECT_EQ(run("check " + q(back), &out), 0) << out;
    EXPECT_NE(out.find("database ok"), std::string::npos) << out;

    Connection db = open_db(back);
    for (int t = 0; t < kWriters; ++t)
        for (int i = 0; i <= before[t]; ++i) {
            std::string title = "w" + std::to_string(t) + "-" + std::to_string(i);
            Recordset r = db.execute(Sql::trusted("select Email_doc from Email where Email_title='" + title + "'"));
            ASSERT_FALSE(r.eof()) << title << " was acknowledged before the backup began";
            EXPECT_EQ(slurp(back / "Email" / r("Email_doc").str()), "mail " + r("Email_doc").str());
        }
    for (const auto& [name, bytes] : kept) EXPECT_EQ(slurp(back / name), bytes) << name;
    EXPECT_TRUE(fs::is_directory(back / "user" / "nobody"));
    EXPECT_TRUE(fs::is_directory(back / "Medium" / "temp"));
    EXPECT_EQ(test::served_login_status(back.string(), (box.dir / "restored.log").string()), 200);
}

TEST(Backup, RestoreRefusesHostileArchivesAndWritesNothingOutside) {
    Sandbox box;
    fs::path good = box.dir / "good.tar";
    ASSERT_EQ(run("backup " + q(box.site("src")) + " " + q(good)), 0);
    fs::path nest = box.dir / "a" / "b";
    fs::create_directories(nest);
    const std::string abs = (box.dir / "abs_escape").string();

    struct Entry {
        std::string name;
        char type;
        std::string link = "";
    };
    struct Case {
        const char* why;
        std::vector<Entry> entries;
    } cases[] = {
        {"dot-dot", {{"user/", '5'}, {"../x", '0'}}},
        {"dot-dot inside", {{"user/../../../escape", '0'}}},
        {"absolute", {{abs, '0'}}},
        {"symlink", {{"user/ln", '2', box.dir.string()}, {"user/ln/x", '0'}}},
        {"hard link", {{"user/hl", '1', "/etc/passwd"}}},
        {"pax name with dot-dot", {{"../逃逸.txt", '0'}}},
        {"device", {{"user/dev", '3'}}},
        {"file without a name", {{"./", '5'}, {"./", '0'}}},
        {"no database", {{"user/only.txt", '0'}}},
    };
    for (const Case& c : cases) {
        fs::path tar = box.dir / "bad.tar";
        {
            int fd = ::open(tar.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            TarWriter w(fd);
            for (const Entry& e : c.entries) {
                w.entry(e.name, e.type, e.type == '0' ? 5 : 0, 1700000000, 0644, e.link);
                if (e.type == '0') w.data("owned", 5);
            }
            w.finish();
            ::close(fd);
        }
        auto before = tree(box.dir);
        fs::path target = nest / "site";
        std::string out;
        EXPECT_EQ(run("restore " + q(tar) + " " + q(target), &out), 1) << c.why;
        EXPECT_NE(out.find("tavelor restore:"), std::string::npos) << c.why << ": " << out;
        EXPECT_EQ(tree(box.dir), before) << c.why;
        EXPECT_FALSE(fs::exists(target)) << c.why;
    }

    // Damaged archives: a flipped header byte, data cut short, a size far past the end.
    std::string bytes = slurp(good);
    std::string flipped = bytes, cut = bytes.substr(0, 512 * 3 + 100), huge = bytes;
    flipped[10] ^= 1;
    for (std::size_t i = 0; i < 11; ++i) huge[124 + i] = '7';  // the first entry's size field, resealed
    unsigned sum = 0;
    for (std::size_t i = 0; i < 512; ++i) sum += (i >= 148 && i < 156) ? ' ' : static_cast<unsigned char>(huge[i]);
    std::snprintf(&huge[148], 8, "%06o", sum);
    for (const std::string* damaged : {&flipped, &cut, &huge}) {
        put_file(box.dir / "bad.tar", *damaged);
        EXPECT_THROW(restore_site((box.dir / "bad.tar").string(), (nest / "site").string()), std::runtime_error);
        EXPECT_FALSE(fs::exists(nest / "site"));
    }

    // A folder that holds anything is never written into.
    put_file(nest / "site" / "mine.txt", "keep");
    EXPECT_EQ(run("restore " + q(good) + " " + q(nest / "site")), 1);
    EXPECT_EQ(tree(nest / "site"), std::set<std::string>{"mine.txt"});
    // An empty one is.
    fs::remove(nest / "site" / "mine.txt");
    ASSERT_EQ(run("restore " + q(good) + " " + q(nest / "site")), 0);
    EXPECT_EQ(run("check " + q(nest / "site")), 0);
    // The work folder beside it is gone.
    for (const auto& p : fs::directory_iterator(nest)) EXPECT_EQ(p.path().filename(), "site");
}

TEST(Backup, CheckFindsMissingAttachmentsAndStrayFiles) {
    Sandbox box;
    fs::path site = box.site("site");
    {
        Connection db = open_db(site);
        db.execute(Sql::trusted("insert into Email(send_user_id,to_user_id,Email_doc,Email_text) values "
                                "(1,1,'5_a.txt*5_b.txt','<img src=\"./Datas/email/pic.jpg\">')"));
        db.execute(Sql::trusted("insert into Email(send_user_id,to_user_id,Email_doc) values (1,2,'5_a.txt*5_b.txt')"));
        db.execute(Sql::trusted("insert into Datas(User_id,d_afile,D_title,Sub_menu) values (1,'9报告.doc','t','1101')"));
        db.execute(Sql::trusted("insert into Medium(Title,Path,filename) values ('s','/Medium/','Song.MP3')"));
        db.execute(Sql::trusted("update software set hardserial='login.wav' where softname='music'"));
    }
    for (const char* f : {"Email/5_a.txt", "Email/5_b.txt", "Datas/1101/9报告.doc", "Datas/email/pic.jpg",
                          "Medium/song.mp3", "Medium/login.wav", "Medium/temp/Audio11.m3u"})
        put_file(site / f, "x");
    std::string out;
    ASSERT_EQ(run("check " + q(site), &out), 0) << out;

    struct Fault {
        const char* why;
        std::function<void(const fs::path&)> make;  // on a copy of the clean site
        const char* missing;  // a text of the one missing line, or nullptr
        const char* stray;
    } faults[] = {
        {"deleted attachment", [](const fs::path& s) { fs::remove(s / "Email" / "5_b.txt"); }, "Email/5_b.txt", nullptr},
        {"stray file", [](const fs::path& s) { put_file(s / "Datas" / "1101" / "left.doc", "x"); }, nullptr, "Datas/1101/left.doc"},
        {"media file gone", [](const fs::path& s) { fs::remove(s / "Medium" / "song.mp3"); }, "Medium 1", nullptr},
        {"row naming a path out of the site",
         [](const fs::path& s) {
             open_db(s).execute(Sql::trusted("update Datas set d_afile='../../datebase/office.mdb'"));
             fs::remove(s / "Datas" / "1101" / "9报告.doc");
         },
         "office.mdb", nullptr},
    };
    for (const Fault& f : faults) {
        fs::path copy = box.dir / "copy";
        fs::remove_all(copy);
        fs::copy(site, copy, fs::copy_options::recursive);
        f.make(copy);
        CheckReport r = check_site(copy.string());
        EXPECT_TRUE(r.integrity.empty()) << f.why;
        ASSERT_EQ(r.missing.size(), f.missing ? 1u : 0u) << f.why;
        ASSERT_EQ(r.stray.size(), f.stray ? 1u : 0u) << f.why;
        if (f.missing) {
            EXPECT_NE(r.missing[0].find(f.missing), std::string::npos) << r.missing[0];
        }
        if (f.stray) {
            EXPECT_NE(r.stray[0].find(f.stray), std::string::npos) << r.stray[0];
        }
    }
    fs::remove(site / "Email" / "5_a.txt");
    EXPECT_EQ(run("check " + q(site), &out), 1);
    EXPECT_NE(out.find("missing: Email 1 names Email/5_a.txt"), std::string::npos) << out;

    // A damaged database file fails the integrity check.
    fs::path db = site / "datebase" / "office.mdb";
    std::string bytes = slurp(db);
    for (std::size_t i = 4096 * 2; i < bytes.size() && i < 4096 * 6; i += 7) bytes[i] = '\x5a';
    put_file(db, bytes);
    EXPECT_EQ(run("check " + q(site), &out), 1);
    EXPECT_EQ(out.find("database ok"), std::string::npos) << out;
}
