#include <gtest/gtest.h>

#include <filesystem>

#include "frame/errors.h"
#include "frame/host.h"
#include "frame/paths.h"
#include "tests/support/files.h"

using namespace tav;
namespace fs = std::filesystem;

namespace {
struct TempTree {
    test::TempDir dir{"tavelor-paths"};
    std::string root = dir.str();
    TempTree() {
        fs::create_directories(root + "/Medium/temp");
        fs::create_directories(root + "/user/Admin");
        test::put_file(root + "/Medium/Song.MP3", "x");
    }
};
}  // namespace

TEST(Paths, NormalizeFoldsDotsAndSeparators) {
    std::string out;
    ASSERT_TRUE(normalize_path("/a\\b//./c/../d\\", out));
    EXPECT_EQ(out, "/a/b/d");
    ASSERT_TRUE(normalize_path(".\\", out));
    EXPECT_EQ(out, "");
    EXPECT_FALSE(normalize_path("/a/../../etc", out));
    EXPECT_FALSE(normalize_path("..", out));
}

TEST(Paths, ResolvesWithoutCase) {
    TempTree t;
    EXPECT_EQ(resolve_without_case(t.root + "/medium/TEMP"), t.root + "/Medium/temp");
    EXPECT_EQ(resolve_without_case(t.root + "/MEDIUM/song.mp3"), t.root + "/Medium/Song.MP3");
    // A missing part keeps its spelling, and so does everything behind it.
    EXPECT_EQ(resolve_without_case(t.root + "/medium/New/Sub"), t.root + "/Medium/New/Sub");
    std::string p;
    ASSERT_TRUE(physical_path(t.root + "\\USER\\admin\\\\", p));
    EXPECT_EQ(p, t.root + "/user/Admin");
}

TEST(Paths, MapPathStaysInsideTheSite) {
    TempTree t;
    ServerObject server(t.root);
    EXPECT_EQ(server.MapPath("."), t.root);
    EXPECT_EQ(server.MapPath(".\\"), t.root);
    EXPECT_EQ(server.MapPath("./medium/"), t.root + "/Medium");
    EXPECT_EQ(server.MapPath("/User/admin"), t.root + "/user/Admin");
    EXPECT_EQ(server.MapPath("Medium/../user"), t.root + "/user");
    EXPECT_THROW(server.MapPath("../etc/passwd"), PageError);
    EXPECT_THROW(server.MapPath("user\\..\\..\\x"), PageError);
    EXPECT_TRUE(path_inside(t.root, t.root + "/user"));
    EXPECT_FALSE(path_inside(t.root, t.root + "x/user"));
}
