#include <filesystem>
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
const std::string kRefusal =
    "<br><font size=2 color=red>上传文件失败，文件已经存在于服务器上，请更名后重试。</font><br>";

using Part = test::FormPart;
using test::file_part;
std::string multipart(const std::vector<Part>& parts) { return test::multipart_body(kB, parts); }

// The class name is what the error reports show.
const bool registered = [] {
    for (const char* cls : {"uploadtest", "booksave", "fileupload"})
        register_page((std::string("upload_") + cls).c_str(), [cls] { return std::make_unique<BodyPage>(cls); });
    return true;
}();

class UploadTest : public ::testing::Test {
protected:
    test::TestSite site;
    std::string datas(const std::string& name) { return site.root() + "/Datas/" + name; }
    // The answer text of fn run as a page body for req.
    std::string run(HttpRequest req, BodyPage::Body fn, const std::string& cls = "uploadtest") {
        return test::run_body(site, "upload_" + cls, std::move(req), std::move(fn)).body;
    }
};

}  // namespace

TEST_F(UploadTest, FieldsAndChineseFileNameSavedWhole) {
    const std::string content("bin\0\r\n\xff\xfe tail", 13);
    std::string body = multipart({{"Book_Title", "留言 标题"},
                                  {"file1", content, "C:\\文档\\报告 一.txt", "text/plain"},
                                  {"empty", ""}});
    std::string out = run(multipart_request(body), [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        std::string name = "Book_Title";
        EXPECT_EQ(up.upload_form(name), "留言 标题");
        EXPECT_EQ(name, "book_title");  // the caller's variable is lower-cased
        std::string lower_name = "book_title";
        EXPECT_EQ(up.upload_form(lower_name), "留言 标题");
        std::string empty = "EMPTY", missing = "nothing";
        EXPECT_EQ(up.upload_form(empty), "");
        EXPECT_EQ(up.upload_form(missing), "");
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
        Response.write("end");
    });
    EXPECT_EQ(out, "end");  // the confirmation goes no further than upload_file
    EXPECT_EQ(slurp(datas("12报告 一.txt")), content);
}

TEST_F(UploadTest, ShortFileFieldNamesAreReadAsPlainFields) {
    std::string body = multipart({file_part("f1", "a.txt", utf8_to_gb("内容")), file_part("abc", "b.txt", "B")});
    run(multipart_request(body), [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        std::string f1 = "F1", abc = "abc";
        EXPECT_EQ(up.upload_form(f1), "内容");
        f1 = "f1";
        EXPECT_EQ(up.upload_file(f1, "Datas/", ""), "");
        ASSERT_EQ(up.files().size(), 1u);
        EXPECT_EQ(up.files()[0].form_name, "abc");
        EXPECT_EQ(up.upload_file(abc, "Datas/", ""), "b.txt");
    });
    EXPECT_FALSE(fs::exists(datas("a.txt")));
    EXPECT_EQ(slurp(datas("b.txt")), "B");
}

TEST_F(UploadTest, EmptyInputNamedEmptyFileAndBareOrSlashedNames) {
    std::string body = multipart({file_part("file1", "", ""), file_part("file2", "zero.bin", ""),
                                  file_part("file3", "c:/x/y.txt", "slash")});
    std::string out = run(multipart_request(body), [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        ASSERT_EQ(up.files().size(), 3u);
        EXPECT_EQ(up.files()[0].file_name, "");
        EXPECT_EQ(up.files()[1].file_path, "");
        EXPECT_EQ(up.files()[1].file_size, 0);
        EXPECT_EQ(up.files()[2].file_name, "c:/x/y.txt");  // a forward slash separates nothing
        std::string a = "file1", b = "file2";
        EXPECT_EQ(up.upload_file(a, "Datas/", "p"), "");
        EXPECT_EQ(up.upload_file(b, "Datas/", "p"), "pzero.bin");
        EXPECT_EQ(up.getfilepath("a\\b\\c"), "a\\b\\");
        EXPECT_EQ(up.getfilename("a\\b\\c"), "c");
        EXPECT_EQ(up.getfilepath("c"), "");
        EXPECT_EQ(up.getfilename(""), "");
    });
    EXPECT_EQ(out, "");
    EXPECT_EQ(fs::directory_iterator(site.root() + "/Datas")->path().filename(), "pzero.bin");
    EXPECT_EQ(fs::file_size(datas("pzero.bin")), 0u);
}

TEST_F(UploadTest, RepeatedNamesJoinFieldsAndKeepTheFirstFile) {
    std::string body = multipart({{"tag", "a"}, file_part("doc", "first.txt", "1"), {"TAG", "b"},
                                  file_part("doc", "second.txt", "2"), {"tag", "line\r\nbreak"}});
    run(multipart_request(body), [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        std::string tag = "tag", doc = "doc";
        EXPECT_EQ(up.upload_form(tag), "a, b, line\r\nbreak");
        ASSERT_EQ(up.files().size(), 1u);
        EXPECT_EQ(up.upload_file(doc, "Datas/", ""), "first.txt");
    });
    EXPECT_EQ(slurp(datas("first.txt")), "1");
    EXPECT_FALSE(fs::exists(datas("second.txt")));
}

TEST_F(UploadTest, BrokenBodiesReportAndThePageGoesOn) {
    // No CR LF at all: nothing parsed.
    std::string out = run(multipart_request("just some bytes without a line end"), [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        std::string n = "x";
        EXPECT_EQ(up.upload_form(n), "");
        EXPECT_TRUE(up.files().empty());
        Response.write("|after");
    }, "booksave");
    EXPECT_NE(out.find(" Error Invalid procedure call or argument LINE"), std::string::npos) << out;
    EXPECT_NE(out.find("Routine : booksave.upload_initialize|after"), std::string::npos) << out;
    EXPECT_NE(site.log_text().find("booksave.upload_initialize"), std::string::npos);

    // A last field without its boundary: what came before stays.
    std::string body = kBoundary + "\r\nContent-Disposition: form-data; name=\"first\"\r\n\r\none\r\n" + kBoundary +
                       "\r\nContent-Disposition: form-data; name=\"second\"\r\n\r\nno end follows here";
    out = run(multipart_request(body), [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        std::string a = "first", b = "second";
        EXPECT_EQ(up.upload_form(a), "one");
        EXPECT_EQ(up.upload_form(b), "");
    });
    EXPECT_NE(out.find("upload_initialize"), std::string::npos) << out;

    // A header without a name marker takes its name from character 6.
    body = kBoundary + "\r\nContent-Disposition: form-data; x\"y\"\r\n\r\nval\r\n" + kBoundary + "--\r\n";
    run(multipart_request(body), [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        ASSERT_EQ(up.fields().size(), 1u);
        EXPECT_EQ(up.fields()[0].first, "nt-disposition: form-data; x");
        EXPECT_EQ(up.fields()[0].second, "val");
    });
}

TEST_F(UploadTest, WithoutBodyEverythingIsEmpty) {
    std::string out = test::run_body(site, "upload_uploadtest", "/x.asp", [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        std::string n = "anything";
        EXPECT_EQ(up.upload_form(n), "");
        EXPECT_EQ(up.upload_file(n, "Datas/", "p"), "");
        up.upload_terminate();
        EXPECT_EQ(up.upload_form(n), "");
    }).body;
    EXPECT_EQ(out, "");
}

TEST_F(UploadTest, ExistingFileIsRefusedAndMissingFolderReported) {
    test::put_file(datas("Keep.txt"), "old");
    std::string body = multipart({file_part("file1", "d:\\keep.txt", "new"), file_part("file2", "lost.txt", "x")});
    std::string out = run(multipart_request(body), [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        std::string f1 = "file1", f2 = "file2";
        EXPECT_EQ(up.upload_file(f1, "Datas/", ""), "");  // found without case
        Response.write("|");
        EXPECT_EQ(up.upload_file(f2, "Datas/nosuch/", ""), "");
        Response.write("|done");
    }, "fileupload");
    EXPECT_EQ(out.substr(0, kRefusal.size() + 1), kRefusal + "|");
    EXPECT_NE(out.find("Routine : fileupload.upload_save|done"), std::string::npos) << out;
    EXPECT_EQ(slurp(datas("Keep.txt")), "old");
    EXPECT_FALSE(fs::exists(site.root() + "/Datas/nosuch"));
}

TEST_F(UploadTest, LargeSpooledBodyIsParsed) {
    std::string big(30u << 20, '\0');
    for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>((i * 131) >> 7);
    // Boundary-like bytes that are not the boundary, across a chunk edge.
    big.replace((1u << 20) - 10, kBoundary.size() - 1, kBoundary.substr(0, kBoundary.size() - 1));
    std::string body = multipart({{"title", "big"}, file_part("file1", "c:\\big.bin", big), {"after", "yes"}});
    run(multipart_request(std::move(body), true), [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        std::string f = "file1", a = "after";
        EXPECT_EQ(up.upload_form(a), "yes");
        EXPECT_EQ(up.upload_file(f, "Datas/", "x"), "xbig.bin");
    });
    EXPECT_TRUE(slurp(datas("xbig.bin")) == big);
}

// The content holds the boundary after a line end: the file is cut there.
TEST_F(UploadTest, MatchesAcrossPieceEdgesAreFoundAndTheFileEndsAtTheBoundary) {
    std::string content = "0123456789\r\n" + kBoundary.substr(0, 20) + "abc\r\n" + kBoundary + "tail";
    std::string body = multipart({{"title", "中文标题"}, file_part("file1", "edge.bin", content)});
    for (std::size_t piece : {1u, 3u, 7u, 29u}) {
        UploadGroup::chunk = piece;
        std::string name = "edge" + std::to_string(piece);
        run(multipart_request(body, piece == 7), [&](BodyPage& page) {
            UploadGroup up{page};
            up.upload_initialize();
            std::string t = "title", f = "file1";
            EXPECT_EQ(up.upload_form(t), "中文标题") << piece;
            EXPECT_EQ(up.upload_file(f, "Datas/", std::to_string(piece)), std::to_string(piece) + "edge.bin");
        });
        EXPECT_EQ(slurp(datas(std::to_string(piece) + "edge.bin")),
                  "0123456789\r\n" + kBoundary.substr(0, 20) + "abc") << piece;
    }
    UploadGroup::chunk = 1 << 20;
}

TEST_F(UploadTest, FilePartWithoutEndRunsOutTheScriptTime) {
    // No boundary behind the file: the walk returns to the first part for
    // ever, which ends the script as its time limit would.
    std::string body = kBoundary +
                       "\r\nContent-Disposition: form-data; name=\"file1\"; filename=\"x.txt\"\r\n\r\nno end here";
    bool after = false;
    std::string out = run(multipart_request(body), [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        after = true;
    });
    EXPECT_FALSE(after);
    EXPECT_NE(out.find("<b>The script timed out: it ran longer than its limit of "), std::string::npos) << out;
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
    std::vector<Part> fields = {{"a", "1"}, {"b", "2"}};
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
        std::vector<Part> parts = fields;
        parts.push_back(file_part("file1", "c:\\f.txt", c.file));
        bool after = false;
        test::Reply r = test::run_body(site, "upload_uploadtest", multipart_request(multipart(parts)), [&](BodyPage& page) {
            UploadGroup up{page};
            up.upload_initialize();
            std::string f = "file1";
            up.upload_file(f, "Datas/", "");
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
    run(multipart_request(body), [&](BodyPage& page) {
        UploadGroup up{page};
        up.upload_initialize();
        ASSERT_EQ(up.fields().size(), 24000u);
        for (int k : {0, 9999, 23999}) {
            std::string n = std::to_string(k).insert(0, 1, 'F');
            EXPECT_EQ(up.upload_form(n), std::to_string(k * 7));
        }
        std::string f5 = "f5", f = "file1";
        EXPECT_EQ(up.upload_form(f5), "35, again");
        EXPECT_EQ(up.upload_file(f, "Datas/", ""), "big.txt");
    });
    UploadGroup::limits = saved;
    EXPECT_TRUE(slurp(datas("big.txt")) == content);
}
