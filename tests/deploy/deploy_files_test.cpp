// The shipped unit files as systemd reads them: verify and its offline
// security score. (The nginx block is run by BehindNginx.)
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "tests/support/files.h"

namespace fs = std::filesystem;

namespace {

const fs::path kSource = fs::path(TAVELOR_TEMPLATE_DIR).parent_path();

using tav::test::Outcome;
Outcome run(const std::string& cmd) { return tav::test::run_command(cmd); }

// The units name the installed program; verify checks that it exists, so a
// copy names the one just built.
fs::path units_with_built_binary() {
    fs::path dir = fs::temp_directory_path() / ("tavelor_units_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    for (const char* name : {"tavelor.service", "tavelor-backup.service", "tavelor-backup.timer"})
        std::ofstream(dir / name) << std::regex_replace(tav::test::slurp(kSource / "deploy" / name),
                                                        std::regex("/usr/local/bin/tavelor"), TAVELOR_BINARY);
    return dir;
}

}  // namespace

TEST(DeployFiles, UnitsVerifyCleanAndScoreAtMostTwo) {
    if (!fs::exists("/usr/bin/systemd-analyze")) GTEST_SKIP() << "systemd-analyze is not installed";
    fs::path dir = units_with_built_binary();
    std::string verify_cmd = "systemd-analyze verify";
    for (const char* name : {"tavelor.service", "tavelor-backup.service", "tavelor-backup.timer"}) {
        verify_cmd += ' ';
        verify_cmd += (dir / name).string();
    }
    Outcome verify = run(verify_cmd);
    EXPECT_EQ(verify.status, 0) << verify.out;
    EXPECT_EQ(verify.out, "") << "verify warned";
    for (const char* name : {"tavelor.service", "tavelor-backup.service"}) {
        Outcome sec = run("systemd-analyze security --offline=true " + (dir / name).string());
        std::smatch m;
        ASSERT_TRUE(std::regex_search(sec.out, m, std::regex("exposure level for \\S+: ([0-9.]+)"))) << sec.out;
        EXPECT_LE(std::stod(m[1]), 2.0) << name << "\n" << sec.out;
    }
    fs::remove_all(dir);
}
