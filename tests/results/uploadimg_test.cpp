#include <fstream>

#include <gtest/gtest.h>

#include "frame/encoding.h"
#include "tests/support/files.h"
#include "tests/support/test_site.h"

using tav::test::TestSite;

using tav::test::slurp;

namespace {

const std::string kB = "-----------------------------7d1b2c";

std::string file_part(const std::string& name, const std::string& filename, const std::string& content) {
    return kB + "\r\nContent-Disposition: form-data; name=\"" + name + "\"; filename=\"" +
           tav::utf8_to_gb(filename) + "\"\r\nContent-Type: image/gif\r\n\r\n" + content + "\r\n";
}

}  // namespace

TEST(UploadImgPage, FirstViewShowsTheFormForTheSessionFolder) {
    TestSite site;
    ASSERT_TRUE(site.login());
    tav::test::Reply r = site.get("upload_img.asp");
    EXPECT_EQ(r.status, 200);
    // No host page ran in this session: the folder is Datas itself.
    EXPECT_NE(r.body.find("<input type=\"hidden\" name=\"filepath\" value=\"./Datas//\">"), std::string::npos) << r.body;
    EXPECT_NE(r.body.find("action=\"upload_img.asp\" enctype=\"multipart/form-data\""), std::string::npos);
    EXPECT_EQ(r.body.find("Error"), std::string::npos) << r.body;
}

TEST(UploadImgPage, PostSavesEveryFileAndShowsEachResult) {
    TestSite site;
    ASSERT_TRUE(site.login());
    { std::ofstream(site.root() + "/Datas/old.gif") << "before"; }
    std::string body = kB + "\r\nContent-Disposition: form-data; name=\"filepath\"\r\n\r\n./Datas/\r\n" +
                       file_part("file_name", "C:\\图片\\新图.gif", "GIF89a-new") +
                       file_part("other", "d:\\old.gif", "replaced?") + kB + "--\r\n";
    tav::test::Reply r = site.post_raw("upload_img.asp", "multipart/form-data; boundary=" + kB.substr(2), body);
    EXPECT_EQ(r.body,
              "File : C:\\图片\\新图.gif Uploaded!<br>"
              "<br><font size=2 color=red>上传文件失败，文件已经存在于服务器上，请更名后重试。</font><br>"
              "<script language=\"javascript\">window.close(1);</script>\r\n");
    EXPECT_EQ(slurp(site.root() + "/Datas/新图.gif"), "GIF89a-new");
    EXPECT_EQ(slurp(site.root() + "/Datas/old.gif"), "before");
}
