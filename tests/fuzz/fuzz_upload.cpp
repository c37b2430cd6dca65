// Arbitrary bytes as a multipart body through the whole upload group: parse,
// read every field, save every file part into a scratch site, terminate.
// Files must only ever land inside the site.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>

#include "frame/page.h"
#include "frame/request_scope.h"
#include "frame/upload.h"
#include "server/app_log.h"

namespace fs = std::filesystem;
using namespace tav;

namespace {

class FuzzPage final : public Page {
public:
    FuzzPage() : Page("fuzzupload") {}
    void I_init() override {}
};

struct Scratch {
    std::string dir, root;
    Scratch() {
        char tmpl[] = "/tmp/tavelor-fuzz-upload-XXXXXX";
        if (!::mkdtemp(tmpl)) std::abort();
        dir = tmpl;
        root = fs::weakly_canonical(dir + "/site").string();
        reset();
    }
    void reset() const {
        std::error_code ec;
        fs::remove_all(root, ec);
        fs::create_directories(root + "/Datas");
    }
    // Anything outside the site folder but the site itself means a file escaped.
    bool only_site_in_dir() const {
        for (const auto& e : fs::directory_iterator(dir))
            if (e.path().filename() != "site") return false;
        return true;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Scratch scratch;
    static FileLog log("/dev/null");

    RequestData req;
    req.method = "POST";
    req.path = "/upload.asp";
    req.headers.emplace_back("Content-Type", "multipart/form-data; boundary=x");
    if (size > 0) req.body = std::make_shared<MemoryBody>(std::string(reinterpret_cast<const char*>(data), size));

    RequestScope scope(std::move(req), std::make_shared<SessionData>(), scratch.root, log);
    const ResponseObject& response = scope.response;

    FuzzPage page;
    // The same body parsed with tiny pieces and with the serving size must
    // give the same fields and records: piece edges are invisible.
    auto parse = [&](std::size_t chunk, UploadGroup& up) {
        UploadGroup::chunk = chunk;
        try {
            up.upload_initialize();
        } catch (const ScriptTimeout&) {
        } catch (const EndPage&) {  // over a limit: the oversize answer ends the page
        }
    };
    UploadGroup small{page};
    parse(1 + (size ? data[0] % 40 : 0), small);
    UploadGroup big{page, UploadGroup::Variant::UploadImg};
    parse(1 << 20, big);
    if (small.fields() != big.fields() || small.files().size() != big.files().size()) std::abort();
    for (std::size_t i = 0; i < small.files().size(); ++i) {
        const FileRecord &a = small.files()[i], &b = big.files()[i];
        if (a.form_name != b.form_name || a.file_path != b.file_path || a.file_name != b.file_name ||
            a.file_start != b.file_start || a.file_size != b.file_size || a.file_type != b.file_type)
            std::abort();
    }
    for (const auto& [name, value] : small.fields()) {
        std::string n = name;
        if (small.upload_form(n) != value) std::abort();
    }

    // Saving copies in small pieces too.
    UploadGroup::chunk = 1 + (size > 1 ? data[1] % 40 : 0);
    bool wrote = false;
    try {
        for (std::size_t i = 0; i < small.files().size(); ++i) {
            std::string n = small.files()[i].form_name;
            if (!small.upload_file(n, "Datas/", "").empty()) wrote = true;
        }
        for (const FileRecord& r : big.files())
            if (big.upload_save(Server.MapPath("./Datas/") + "img" + r.file_name, r).rfind("File : ", 0) == 0)
                wrote = true;
        small.upload_terminate();
        big.upload_terminate();
    } catch (const ScriptTimeout&) {
    } catch (const EndPage&) {
    }
    if (wrote || !response.body().empty()) {
        if (!scratch.only_site_in_dir()) std::abort();
        scratch.reset();
    }
    return 0;
}
