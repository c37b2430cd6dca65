#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "frame/encoding.h"
#include "frame/quota.h"
#include "frame/upload.h"
#include "tests/support/files.h"
#include "tests/support/multipart.h"
#include "tests/support/page_runner.h"
#include "tests/support/test_site.h"

namespace fs = std::filesystem;
using namespace tav;
using tav::test::BodyPage;
using tav::test::multipart_request;

using tav::test::slurp;

namespace {

const std::string kB = "----WebKitFormBoundaryQ7x2", kBoundary = "--" + kB;

using Part = test::FormPart;
using test::file_part;
std::string multipart(const std::vector<Part>& parts) { return test::multipart_body(kB, parts); }

// The class name is what the error reports show.
const bool registered = [] {
    for (const char* cls : {"uploadtest", "booksave", "fileupload"})
        register_page((std::string("upload_") + cls).c_str(), [cls] { return std::make_unique<BodyPage>(cls); });
    return true;
}();

// The group takes the caller's variable, as the pages pass theirs.
std::string form(UploadGroup& up, std::string name) { return up.upload_form(name); }
std::string save(UploadGroup& up, std::string name, const std::string& prefix = "",
                 const std::string& folder = "Datas/") {
    return up.upload_file(name, folder, prefix);
}

class UploadTest : public ::testing::Test {
protected:
    test::TestSite site;
    std::string datas(const std::string& name) { return site.root() + "/Datas/" + name; }
    // fn on the group of page cls, initialised from req; the page's answer.
    test::Reply parse(HttpRequest req, const std::function<void(UploadGroup&)>& fn,
                      const std::string& cls = "uploadtest") {
        return test::run_body(site, "upload_" + cls, std::move(req), [&](BodyPage& page) {
            UploadGroup up{page};
            up.upload_initialize();
            fn(up);
        });
    }
    test::Reply parse(const std::string& body, const std::function<void(UploadGroup&)>& fn,
                      const std::string& cls = "uploadtest") {
        return parse(multipart_request(body), fn, cls);
    }
};

}  // namespace

TEST_F(UploadTest, FieldsAndChineseFileNameSavedWhole) {
    const std::string content("bin\0\r\n\xff\xfe tail", 13);
    std::string body = multipart({{"Book_Title", "留言 标题"},
                                  {"file1", content, "C:\\文档\\报告 一.txt", "text/plain"},
                                  {"empty", ""}});
    std::string out = parse(body, [&](UploadGroup& up) {
        std::string name = "Book_Title";
        EXPECT_EQ(up.upload_form(name), "留言 标题");
        EXPECT_EQ(name, "book_title");  // the caller's variable is lower-cased
        EXPECT_EQ(form(up, "book_title"), "留言 标题");
        EXPECT_EQ(form(up, "EMPTY"), "");
        EXPECT_EQ(form(up, "nothing"), "");
        EXPECT_EQ(up.fields().size(), 2u);

        ASSERT_EQ(up.files().size(), 1u);
        const FileRecord& r = up.files()[0];
        EXPECT_EQ(r.form_name, "file1");
        EXPECT_EQ(r.file_path, "C:\\文档\\");
        EXPECT_EQ(r.file_name, "报告 一.txt");
        EXPECT_EQ(r.file_type, "text/plain");
        EXPECT_EQ(r.file_size, static_cast<std::int64_t>(content.size()));
        EXPECT_EQ(body.substr(static_cast<std::size_t>(r.file_start), content.size()), content);

        std::string field = "File1";
        EXPECT_EQ(up.upload_file(field, "Datas/", "12"), "12报告 一.txt");
        EXPECT_EQ(field, "file1");
        up.upload_terminate();
        EXPECT_TRUE(up.files().empty());
        EXPECT_EQ(form(up, "book_title"), "");
        Response.write("end");
    }).body;
    EXPECT_EQ(out, "end");  // the confirmation goes no further than upload_file
    EXPECT_EQ(slurp(datas("12报告 一.txt")), content);
    // Without a body everything is empty.
    EXPECT_EQ(test::run_body(site, "upload_uploadtest", "/x.asp", [](BodyPage& page) {
                  UploadGroup up{page};
                  up.upload_initialize();
                  EXPECT_EQ(form(up, "anything"), "");
                  EXPECT_EQ(save(up, "anything", "p"), "");
              }).body, "");
}

// Names as the old group read them: file fields of fewer than four
// characters are plain fields, repeated fields join, the first file of a
// name wins, an empty input stores nothing, only a backslash separates.
TEST_F(UploadTest, FieldAndFileNamesReadAsTheOldGroupDid) {
    std::string body = multipart({file_part("f1", "a.txt", utf8_to_gb("内容")), file_part("abc", "b.txt", "B"),
                                  {"tag", "a"}, file_part("doc", "first.txt", "1"), {"TAG", "b"},
                                  file_part("doc", "second.txt", "2"), {"tag", "line\r\nbreak"},
                                  file_part("file1", "", ""), file_part("file2", "zero.bin", ""),
                                  file_part("file3", "c:/x/y.txt", "slash")});
    std::string out = parse(body, [&](UploadGroup& up) {
        std::vector<std::string> names;
        for (const FileRecord& f : up.files()) names.push_back(f.form_name + ":" + f.file_path + "|" + f.file_name);
        EXPECT_EQ(names, (std::vector<std::string>{"abc:|b.txt", "doc:|first.txt", "file1:|", "file2:|zero.bin",
                                                   "file3:|c:/x/y.txt"}));
        EXPECT_EQ(form(up, "F1"), "内容");
        EXPECT_EQ(save(up, "f1"), "");
        EXPECT_EQ(save(up, "abc"), "b.txt");
        EXPECT_EQ(form(up, "tag"), "a, b, line\r\nbreak");
        EXPECT_EQ(save(up, "doc"), "first.txt");
        EXPECT_EQ(save(up, "file1", "p"), "");
        EXPECT_EQ(save(up, "file2", "p"), "pzero.bin");
        EXPECT_EQ(up.getfilepath("a\\b\\c"), "a\\b\\");
        EXPECT_EQ(up.getfilename("a\\b\\c"), "c");
        EXPECT_EQ(up.getfilepath("c"), "");
        EXPECT_EQ(up.getfilename(""), "");
    }).body;
    EXPECT_EQ(out, "");
    EXPECT_FALSE(fs::exists(datas("a.txt")));
    EXPECT_FALSE(fs::exists(datas("second.txt")));
    EXPECT_EQ(slurp(datas("b.txt")), "B");
    EXPECT_EQ(slurp(datas("first.txt")), "1");
    EXPECT_EQ(fs::file_size(datas("pzero.bin")), 0u);
    EXPECT_FALSE(fs::exists(datas("p")));
}

TEST_F(UploadTest, BrokenBodiesReportAndThePageGoesOn) {
    // No CR LF at all: nothing parsed.
    std::string out = parse("just some bytes without a line end", [&](UploadGroup& up) {
        EXPECT_EQ(form(up, "x"), "");
        EXPECT_TRUE(up.files().empty());
        Response.write("|after");
    }, "booksave").body;
    EXPECT_NE(out.find(" Error Invalid procedure call or argument LINE"), std::string::npos) << out;
    EXPECT_NE(out.find("Routine : booksave.upload_initialize|after"), std::string::npos) << out;
    EXPECT_NE(site.log_text().find("booksave.upload_initialize"), std::string::npos);

    // A last field without its boundary: what came before stays.
    out = parse(kBoundary + "\r\nContent-Disposition: form-data; name=\"first\"\r\n\r\none\r\n" + kBoundary +
                    "\r\nContent-Disposition: form-data; name=\"second\"\r\n\r\nno end follows here",
                [&](UploadGroup& up) {
                    EXPECT_EQ(form(up, "first"), "one");
                    EXPECT_EQ(form(up, "second"), "");
                }).body;
    EXPECT_NE(out.find("upload_initialize"), std::string::npos) << out;

    // A header without a name marker takes its name from character 6.
    parse(kBoundary + "\r\nContent-Disposition: form-data; x\"y\"\r\n\r\nval\r\n" + kBoundary + "--\r\n",
          [&](UploadGroup& up) {
              ASSERT_EQ(up.fields().size(), 1u);
              EXPECT_EQ(up.fields()[0].first, "nt-disposition: form-data; x");
              EXPECT_EQ(up.fields()[0].second, "val");
          });

    // No boundary behind a file: the walk returns to the first part for
    // ever, which ends the script as its time limit would.
    bool after = false;
    out = parse(kBoundary + "\r\nContent-Disposition: form-data; name=\"file1\"; filename=\"x.txt\"\r\n\r\nno end",
                [&](UploadGroup&) { after = true; }).body;
    EXPECT_FALSE(after);
    EXPECT_NE(out.find("<b>The script timed out: it ran longer than its limit of "), std::string::npos) << out;
}

TEST_F(UploadTest, ExistingFileIsRefusedAndMissingFolderReported) {
    test::put_file(datas("Keep.txt"), "old");
    std::string body = multipart({file_part("file1", "d:\\keep.txt", "new"), file_part("file2", "lost.txt", "x")});
    std::string out = parse(body, [&](UploadGroup& up) {
        EXPECT_EQ(save(up, "file1"), "");  // found without case
        Response.write("|");
        EXPECT_EQ(save(up, "file2", "", "Datas/nosuch/"), "");
        Response.write("|done");
    }, "fileupload").body;
    const std::string refusal =
        "<br><font size=2 color=red>上传文件失败，文件已经存在于服务器上，请更名后重试。</font><br>|";
    EXPECT_EQ(out.substr(0, refusal.size()), refusal);
    EXPECT_NE(out.find("Routine : fileupload.upload_save|done"), std::string::npos) << out;
    EXPECT_EQ(slurp(datas("Keep.txt")), "old");
    EXPECT_FALSE(fs::exists(site.root() + "/Datas/nosuch"));
}

// The boundary is found across the edges of the pieces read, in memory and
// spooled; a boundary after a line end inside the content cuts the file.
TEST_F(UploadTest, BoundariesAreFoundAcrossPieceEdges) {
    std::string content = "0123456789\r\n" + kBoundary.substr(0, 20) + "abc\r\n" + kBoundary + "tail";
    std::string body = multipart({{"title", "中文标题"}, file_part("file1", "edge.bin", content)});
    for (std::size_t piece : {1u, 3u, 7u, 29u}) {
        UploadGroup::chunk = piece;
        parse(multipart_request(body, piece == 7), [&](UploadGroup& up) {
            EXPECT_EQ(form(up, "title"), "中文标题") << piece;
            EXPECT_EQ(save(up, "file1", std::to_string(piece)), std::to_string(piece) + "edge.bin");
        });
        EXPECT_EQ(slurp(datas(std::to_string(piece) + "edge.bin")), "0123456789\r\n" + kBoundary.substr(0, 20) + "abc")
            << piece;
    }
    UploadGroup::chunk = 1 << 20;

    // 30 MB spooled, with boundary-like bytes across a piece edge.
    std::string big(30u << 20, '\0');
    for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>((i * 131) >> 7);
    big.replace((1u << 20) - 10, kBoundary.size() - 1, kBoundary.substr(0, kBoundary.size() - 1));
    body = multipart({{"title", "big"}, file_part("file1", "c:\\big.bin", big), {"after", "yes"}});
    parse(multipart_request(std::move(body), true), [&](UploadGroup& up) {
        EXPECT_EQ(form(up, "after"), "yes");
        EXPECT_EQ(save(up, "file1", "x"), "xbig.bin");
    });
    EXPECT_TRUE(slurp(datas("xbig.bin")) == big);
}

// Over a limit the request gets the oversize answer and the page stops
// before it stores anything; at the limit it goes through.
TEST_F(UploadTest, LimitsAnswerWithTheOversizePage) {
    struct LimitCase {
        std::int64_t UploadLimits::*bytes;  // null: the part count
        std::int64_t limit;
        std::string file;
        std::string says;  // "" when the request is within the limit
    };
    const UploadLimits saved = UploadGroup::limits;
    for (const LimitCase& c : std::vector<LimitCase>{
             {&UploadLimits::file_bytes, 10, std::string(11, 'x'), "每个附件不能超过 0.0 MB"},
             {&UploadLimits::file_bytes, 10, std::string(10, 'x'), ""},
             {&UploadLimits::request_bytes, 100, "x", "一次提交的内容（所有附件合计）不能超过"},
             {nullptr, 2, "x", "一次提交的内容不能超过 2 项"},
             {nullptr, 3, "x", ""},
         }) {
        UploadGroup::limits = saved;
        if (c.bytes) UploadGroup::limits.*c.bytes = c.limit;
        else UploadGroup::limits.parts = static_cast<std::size_t>(c.limit);
        bool after = false;
        test::Reply r = parse(multipart({{"a", "1"}, {"b", "2"}, file_part("file1", "c:\\f.txt", c.file)}),
                              [&](UploadGroup& up) {
                                  save(up, "file1");
                                  after = true;
                              });
        EXPECT_EQ(after, c.says.empty()) << c.says;
        EXPECT_EQ(fs::exists(datas("f.txt")), c.says.empty()) << c.says;
        if (!c.says.empty()) {
            EXPECT_EQ(r.status, 413);
            EXPECT_NE(r.body.find("上传的文件太大，没有发送成功。"), std::string::npos) << r.body;
            EXPECT_NE(r.body.find(c.says), std::string::npos) << r.body;
        }
        fs::remove(datas("f.txt"));
    }
    UploadGroup::limits = saved;
}

// The account's use plus every file of the request against the setting row
// (megabytes), or the default without a row or a number in it.
TEST_F(UploadTest, QuotaCountsEveryFileOfTheRequest) {
    struct QuotaCase {
        const char* row;  // null: no row
        std::int64_t used;
        bool stored;
    };
    const std::int64_t mb = 1 << 20;
    std::string body = multipart({file_part("file1", "c:\\q1.txt", "12345"), file_part("file2", "c:\\q2.txt", "678")});
    for (const QuotaCase& c : std::vector<QuotaCase>{
             {nullptr, mb - 8, true}, {nullptr, mb - 7, false}, {"0.5", mb / 2 - 8, true}, {"0.5", mb / 2, false},
             {"lots", mb - 8, true}, {"0", 0, false},
         }) {
        site.exec("delete from software where softname='quota_test'");
        if (c.row) site.exec(std::string("insert into software(softname,Hardserial) values('quota_test','") + c.row + "')");
        test::Reply r = test::run_body(site, "upload_uploadtest", multipart_request(body), [&](BodyPage& page) {
            page.dbI_init();
            UploadGroup up{page};
            up.set_quota({"quota_test", 1, [&](Page&) { return c.used; }, "邮件附件"});
            up.upload_initialize();
            for (std::string f : {"file1", "file2"}) up.upload_file(f, "Datas/", "");
        });
        EXPECT_EQ(fs::exists(datas("q1.txt")), c.stored) << c.used;
        EXPECT_EQ(fs::exists(datas("q2.txt")), c.stored) << c.used;
        if (!c.stored) {
            EXPECT_EQ(r.status, 413);
            EXPECT_NE(r.body.find("超出了邮件附件的存储限额"), std::string::npos) << r.body;
        }
        fs::remove(datas("q1.txt"));
        fs::remove(datas("q2.txt"));
    }
}

// Sent mails name their files once per recipient row; each file counts once.
TEST_F(UploadTest, MailAttachmentUseCountsEachStoredFileOnce) {
    test::put_file(site.root() + "/Email/11a.txt", "12345");
    test::put_file(site.root() + "/Email/12b.txt", "123");
    test::put_file(site.root() + "/Email/13c.txt", "not 7's");
    site.exec("insert into email(send_user_id,to_user_id,Email_doc) values (7,1,'11a.txt*12b.txt'),"
              "(7,2,'11a.txt*12b.txt'),(7,3,'0'),(7,4,'gone.txt*../x*..'),(8,1,'13c.txt')");
    std::int64_t used = -1;
    test::run_body(site, "upload_uploadtest", "/x.asp", [&](BodyPage& page) {
        page.dbI_init();
        used = mail_attachment_bytes(page, Value(7));
    });
    EXPECT_EQ(used, 8);
}

// Two megabytes of small fields and a file: every field and the file whole.
TEST_F(UploadTest, ManySmallFieldsAreParsedWhole) {
    const UploadLimits saved = UploadGroup::limits;
    UploadGroup::limits.parts = 1 << 20;
    std::vector<Part> parts;
    for (int k = 0; k < 24000; ++k) parts.push_back({std::to_string(k).insert(0, 1, 'f'), std::to_string(k * 7)});
    parts.push_back({"f5", "again"});
    const std::string content(64 << 10, 'z');
    parts.push_back(file_part("file1", "c:\\big.txt", content));
    std::string body = multipart(parts);
    ASSERT_GT(body.size(), 2u << 20);
    parse(body, [&](UploadGroup& up) {
        ASSERT_EQ(up.fields().size(), 24000u);
        for (int k : {0, 9999, 23999}) EXPECT_EQ(form(up, std::to_string(k).insert(0, 1, 'F')), std::to_string(k * 7));
        EXPECT_EQ(form(up, "f5"), "35, again");
        EXPECT_EQ(save(up, "file1"), "big.txt");
    });
    UploadGroup::limits = saved;
    EXPECT_TRUE(slurp(datas("big.txt")) == content);
}
