// The application log: reopened by name after a rotation; on stderr with the
// journal's level prefixes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "server/app_log.h"
#include "tests/support/files.h"

using namespace tav;
namespace fs = std::filesystem;

using tav::test::slurp;

TEST(AppLog, ReopenAfterRenameWritesToAFreshFile) {
    test::TempDir dir("applog");
    fs::path live = dir / "tavelor.log", rotated = dir / "tavelor.log.1";
    {
        FileLog log(live.string());
        log.write(2, "before rotation");
        fs::rename(live, rotated);
        log.write(2, "still the old file");  // the open handle follows the rename
        EXPECT_FALSE(fs::exists(live));
        log.reopen();
        log.write(1, "after\nreopen");
    }
    std::string old_text = slurp(rotated), new_text = slurp(live);
    EXPECT_NE(old_text.find("before rotation"), std::string::npos);
    EXPECT_NE(old_text.find("still the old file"), std::string::npos);
    EXPECT_EQ(old_text.find("after"), std::string::npos);
    EXPECT_NE(new_text.find("\t1\tafter reopen\n"), std::string::npos);  // one line, no raw newline
}

TEST(AppLog, StderrCarriesSyslogLevels) {
    struct Row { int type; const char* prefix; };
    for (const char* path : {"-", "stderr"}) {
        for (Row r : {Row{1, "<3>"}, Row{2, "<4>"}, Row{4, "<6>"}, Row{8, "<6>"}}) {
            FileLog log(path);
            testing::internal::CaptureStderr();
            log.write(r.type, "Tavelor.Refused x\r\ny");
            std::string out = testing::internal::GetCapturedStderr();
            EXPECT_EQ(out, std::string(r.prefix) + std::to_string(r.type) + "\tTavelor.Refused x  y\n")
                << path << " type " << r.type;
        }
    }
}

TEST(AppLog, JournalIsTheDefaultUnderSystemd) {
    const char* saved = std::getenv("JOURNAL_STREAM");
    std::string keep = saved ? saved : "";
    ::unsetenv("JOURNAL_STREAM");
    EXPECT_EQ(pick_log_path("", "/srv/site.log"), "/srv/site.log");
    ::setenv("JOURNAL_STREAM", "8:12345", 1);
    EXPECT_EQ(pick_log_path("", "/srv/site.log"), "-");
    EXPECT_EQ(pick_log_path("/var/log/t.log", "/srv/site.log"), "/var/log/t.log");  // an explicit --log wins
    if (saved) ::setenv("JOURNAL_STREAM", keep.c_str(), 1);
    else ::unsetenv("JOURNAL_STREAM");
}
