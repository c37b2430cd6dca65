// Arbitrary bytes as a multipart body through the whole upload group: parse,
// read every field, save every file part into a scratch site, terminate.
// Files must only ever land inside the site.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>

#include "frame/context.h"
#include "frame/host.h"
#include "frame/page.h"
#include "frame/upload.h"

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
    static AppLog log("/dev/null");

    HttpRequest req;
    req.method = "POST";
    req.target = "/upload.asp";
    req.headers.emplace_back("Content-Type", "multipart/form-data; boundary=x");
    if (size > 0) req.body = std::make_shared<MemoryBody>(std::string(reinterpret_cast<const char*>(data), size));

    RequestObject request(req);
    ResponseObject response;
    SessionObject session(std::make_shared<SessionData>());
    ServerObject server(scratch.root);
    ApplicationObject application;
    Context ctx;
    ctx.request = &request;
    ctx.response = &response;
    ctx.session = &session;
    ctx.server = &server;
    ctx.application = &application;
    ctx.log = &log;
    ContextScope scope(ctx);

    FuzzPage page;
    bool wrote = false;
    for (auto variant : {UploadGroup::Variant::Standard, UploadGroup::Variant::UploadImg}) {
        UploadGroup up{page, variant};
        try {
            up.upI_init();
            up.upload_initialize();
            for (const auto& [name, value] : up.fields()) {
                std::string n = name;
                if (up.upload_form(n) != value) std::abort();  // the first value of a name is the joined one
            }
            if (variant == UploadGroup::Variant::Standard) {
                for (std::size_t i = 0; i < up.files().size(); ++i) {
                    std::string n = up.files()[i].form_name;
                    if (!up.upload_file(n, "Datas/", "").empty()) wrote = true;
                }
            } else {
                for (const FileRecord& r : up.files())
                    if (up.upload_save(Server.MapPath("./Datas/") + r.file_name, r).rfind("File : ", 0) == 0)
                        wrote = true;
            }
            up.upload_terminate();
        } catch (const ScriptTimeout&) {
        }
    }
    if (wrote || !response.body().empty()) {
        if (!scratch.only_site_in_dir()) std::abort();
        scratch.reset();
    }
    return 0;
}
