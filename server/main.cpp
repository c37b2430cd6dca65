// tavelor: makes a site instance and serves it.
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "frame/upload.h"
#include "frame/site_layout.h"
#include "frame/store.h"
#include "frame/store_search.h"
#include "server/backup.h"
#include "server/http_server.h"
#include "server/import.h"
#include "server/migrate.h"
#include "server/page_table.h"
#include "server/instance.h"
#include "server/site.h"

namespace {

int usage() {
    std::cerr << "usage:\n"
                 "  tavelor init DIR [--template DIR] [--database postgresql://...]\n"
                 "  tavelor access-table            (prints docs/access.md)\n"
                 "  tavelor serve DIR [--port 8080] [--bind 127.0.0.1] [--workers N] [--log FILE|-]\n"
                 "                    [--body-limit BYTES] [--file-limit BYTES] [--part-limit N]\n"
                 "                    [--template DIR] [--trusted-proxy ADDR]... [--database postgresql://...]\n"
                 "  tavelor import OLD_SITE NEW_DIR [--code-page GBK] [--name-code-page GBK] [--template DIR]\n"
                 "  tavelor backup DIR OUT.tar      (while the site is served)\n"
                 "  tavelor restore OUT.tar DIR     (DIR new or empty)\n"
                 "  tavelor check DIR               (exit 1 when rows and files disagree)\n"
                 "  tavelor migrate DIR postgresql://... [--replace] [--template DIR]\n";
    return 2;
}

// tavelor import OLD_SITE NEW_DIR [options]: the summary on stdout, the
// progress line on stderr when that is a terminal.
int import_command(int argc, char** argv) {
    if (argc < 4) return usage();
    tav::import::Options opt;
    opt.old_site = argv[2];
    opt.new_dir = argv[3];
    opt.template_dir = TAVELOR_TEMPLATE_DIR;
    opt.progress = ::isatty(2) == 1;
    for (int i = 4; i < argc; ++i) {
        std::string a = argv[i];
        if (i + 1 >= argc) return usage();
        if (a == "--code-page") opt.code_page = argv[++i];
        else if (a == "--name-code-page") opt.name_code_page = argv[++i];
        else if (a == "--template") opt.template_dir = argv[++i];
        else return usage();
    }
    try {
        tav::import::Summary s = tav::import::run(opt);
        std::cout << "imported " << opt.old_site << " into "
                  << std::filesystem::weakly_canonical(opt.new_dir).string() << "\n"
                  << tav::import::format_summary(s);
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "tavelor import: " << e.what() << "; nothing was made\n";
        return 1;
    }
}

// tavelor migrate DIR URL [--replace] [--template DIR]: the summary on
// stdout, a progress line per table on stderr.
int migrate_command(int argc, char** argv) {
    if (argc < 4) return usage();
    tav::migrate::Options opt;
    opt.dir = argv[2];
    opt.url = argv[3];
    opt.template_dir = TAVELOR_TEMPLATE_DIR;
    for (int i = 4; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--replace") opt.replace = true;
        else if (a == "--template" && i + 1 < argc) opt.template_dir = argv[++i];
        else return usage();
    }
    // As the text index build at serve: one line rewritten on a terminal,
    // a line per table otherwise.
    opt.progress = [tty = ::isatty(2) != 0](std::string_view table, long long done, long long total) {
        if (!tty && done < total) return;
        std::cerr << (tty ? "\r" : "") << "copying " << table << ": " << done << " of " << total << " rows"
                  << (done >= total ? "\n" : "") << std::flush;
    };
    try {
        tav::migrate::Summary s = tav::migrate::run(opt);
        std::cout << "migrated " << opt.dir << " to PostgreSQL\n" << tav::migrate::format_summary(s);
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "tavelor migrate: " << e.what() << "\n";
        return 1;
    }
}

// backup, restore and check: 0 done (check: clean), 1 failed or found faults.
int admin_command(int argc, char** argv) {
    std::string verb = argv[1];
    if (argc != (verb == "check" ? 3 : 4)) return usage();
    try {
        if (verb == "backup") {
            tav::BackupSummary sum = tav::backup_site(argv[2], argv[3]);
            std::cout << "backup " << argv[3] << ": " << sum.line() << "\n";
            return 0;
        }
        if (verb == "restore") {
            tav::restore_site(argv[2], argv[3]);
            std::cout << "restored " << argv[2] << " into " << argv[3] << "\n";
            return 0;
        }
        tav::CheckReport r = tav::check_site(argv[2]);
        for (const std::string& line : r.integrity) std::cout << "integrity: " << line << "\n";
        for (const std::string& line : r.missing) std::cout << "missing: " << line << "\n";
        for (const std::string& line : r.stray) std::cout << "stray: " << line << "\n";
        std::cout << (r.on_postgresql ? "database on PostgreSQL (not checked here)"
                      : r.integrity.empty() ? "database ok"
                                            : "database damaged")
                  << "; " << r.missing.size()
                  << " missing files, " << r.stray.size() << " stray files\n";
        return r.clean() ? 0 : 1;
    } catch (const std::exception& e) {
        std::cerr << "tavelor " << verb << ": " << e.what() << "\n";
        return 1;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string(argv[1]) == "access-table") {
        std::cout << tav::access_table();
        return 0;
    }
    if (argc < 3) return usage();
    std::string verb = argv[1];
    if (verb == "import") return import_command(argc, argv);
    if (verb == "migrate") return migrate_command(argc, argv);
    if (verb == "backup" || verb == "restore" || verb == "check") return admin_command(argc, argv);
    // Every request builds and frees answers of tens of kilobytes. With the
    // allocator's defaults the heap grew and was given back on each one, and
    // each request paid for fresh pages (a list page ran 50% faster with
    // these). Up to 4 MB of freed memory stays for reuse; blocks of 1 MB and
    // more get their own mapping.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    mallopt(M_TRIM_THRESHOLD, 4 << 20);
    std::string cmd = argv[1], dir = argv[2];
    std::string tpl = TAVELOR_TEMPLATE_DIR;
    tav::ServerOptions opts;
    opts.bind = "127.0.0.1";
    opts.port = 8080;
    std::string log_path, database_url;
    for (int i = 3; i < argc; ++i) {
        std::string a = argv[i];
        auto next = [&]() -> std::string {
            if (i + 1 >= argc) {
                std::cerr << "missing value for " << a << "\n";
                std::exit(2);
            }
            return argv[++i];
        };
        try {
            if (a == "--template") tpl = next();
            else if (a == "--database") database_url = next();
            else if (a == "--port") opts.port = static_cast<unsigned short>(std::stoul(next()));
            else if (a == "--bind") opts.bind = next();
            else if (a == "--workers") opts.workers = static_cast<unsigned>(std::stoul(next()));
            else if (a == "--log") log_path = next();
            else if (a == "--body-limit") opts.body_limit = std::stoull(next());
            else if (a == "--trusted-proxy") opts.trusted_proxies.push_back(next());
            else if (a == "--file-limit") tav::UploadGroup::limits.file_bytes = std::stoll(next());
            else if (a == "--part-limit") tav::UploadGroup::limits.parts = std::stoul(next());
            else return usage();
        } catch (const std::exception&) {
            std::cerr << "bad value for " << a << "\n";
            return 2;
        }
    }
    // The upload group refuses what the HTTP layer would: the same bound.
    tav::UploadGroup::limits.request_bytes = static_cast<std::int64_t>(opts.body_limit);
    try {
        if (cmd == "init") {
            tav::init_site(dir, tpl, database_url);
            std::cout << "site instance ready in " << std::filesystem::weakly_canonical(dir).string() << "\n";
            return 0;
        }
        if (cmd == "serve") {
            if (!std::filesystem::exists(tav::layout::database_folder(dir)))
                std::cerr << "warning: " << dir << " has no " << tav::layout::kDatabaseFolder
                          << " folder; run 'tavelor init' first\n";
            log_path = tav::pick_log_path(log_path, tav::default_log_path(dir));
            if (database_url.empty()) {
                const std::string file = tav::postgresql_url_file(tav::layout::database_path(dir));
                if (!std::filesystem::exists(tav::layout::database_path(dir)) && std::filesystem::exists(file)) {
                    std::ifstream in(file);
                    std::getline(in, database_url);
                }
            }
            if (!database_url.empty())
                tav::use_postgresql_site(dir, tpl, database_url);
            else if (std::string db = tav::layout::database_path(dir); std::filesystem::exists(db))
                tav::upgrade_database(db, tav::read_schema(tpl), [tty = ::isatty(2) != 0](std::string_view table, long long done,
                                                                   long long total) {
                    // A database from before the text index: built once, here.
                    if (!tty && done < total) return;
                    std::cerr << (tty ? "\r" : "") << "building the search index of " << table << ": " << done
                              << " of " << total << " rows" << (done >= total ? "\n" : "") << std::flush;
                });
            tav::Site site(dir, log_path);
            opts.body_limit_for = [&site](const tav::HttpRequest& r) { return site.body_limit_for(r); };
            opts.account_of = [&site](const tav::HttpRequest& r) { return site.account_of(r); };
            opts.log = [&site](const std::string& line) { site.log().write(2, line); };
            tav::HttpServer server(
                opts, [&site](const tav::HttpRequest& r) { return site.handle(r); },
                [&site](const tav::HttpRequest& r, tav::HttpResponse& out) { return site.handle_quick(r, out); });
            std::cout << "serving " << site.root() << " at http://" << opts.bind << ":" << opts.port
                      << "/login.asp (log: " << log_path << ")" << std::endl;
            server.run_until_signal([&site] { site.reopen_log(); });
            return 0;
        }
    } catch (const std::exception& e) {
        std::cerr << "tavelor: " << e.what() << "\n";
        return 1;
    }
    return usage();
}
