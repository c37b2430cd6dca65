#include "server/instance.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "frame/paths.h"
#include "frame/site_layout.h"
#include "frame/store.h"

namespace fs = std::filesystem;

namespace tav {

std::string default_log_path(const std::string& dir) {
    std::string d = fs::weakly_canonical(dir).string();
    while (d.size() > 1 && d.back() == '/') d.pop_back();
    return d + ".log";
}

std::string join_client_script(const std::string& compat_dir) {
    fs::path dir(compat_dir);
    std::ifstream order(dir / "order.txt");
    if (!order) throw std::runtime_error("missing " + (dir / "order.txt").string());
    std::string out, name;
    while (std::getline(order, name)) {
        if (!name.empty() && name.back() == '\r') name.pop_back();
        if (name.empty() || name[0] == '#') continue;
        // A part is a plain name in this folder, nothing else.
        if (name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_") != std::string::npos)
            throw std::runtime_error("bad part name in " + (dir / "order.txt").string() + ": " + name);
        std::ifstream in(dir / (name + ".js"), std::ios::binary);
        if (!in) throw std::runtime_error("missing " + (dir / (name + ".js")).string());
        std::stringstream ss;
        ss << in.rdbuf();
        out += ss.str();
        if (!out.empty() && out.back() != '\n') out += '\n';
    }
    return out;
}

static std::string template_sql(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) throw std::runtime_error("missing " + file.string());
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

void use_postgresql_site(const std::string& dir, const std::string& template_dir, const std::string& url) {
    const fs::path tpl_db = fs::path(template_dir) / layout::kDatabaseFolder;
    const std::string db = layout::database_path(dir);
    use_postgresql(db, url);
    build_postgresql_database(url, template_sql(tpl_db / "schema.postgresql.sql"), template_sql(tpl_db / "seed.sql"));
}

void write_postgresql_url(const std::string& dir, const std::string& url) {
    // Read by the site's connections in a later process; it may hold a
    // password, so only the owner reads it, from the first byte on.
    const std::string file = postgresql_url_file(layout::database_path(dir));
    const std::string part = file + ".tmp";
    {
        std::ofstream out(part, std::ios::binary | std::ios::trunc);
        if (!out) throw std::runtime_error("cannot write " + part);
        fs::permissions(part, fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::replace);
        out << url << "\n";
        out.close();
        if (!out) throw std::runtime_error("cannot write " + part);
    }
    fs::rename(part, file);
}

void init_site(const std::string& dir, const std::string& template_dir, const std::string& database_url) {
    fs::create_directories(dir);
    fs::path tpl(template_dir), dst(dir);
    // The template's database folder holds the SQL the database is built from.
    const fs::path tpl_db = tpl / layout::kDatabaseFolder;
    for (auto it = fs::recursive_directory_iterator(tpl); it != fs::recursive_directory_iterator(); ++it) {
        fs::path rel = fs::relative(it->path(), tpl);
        if (layout::is_database_folder(rel.begin()->string())) continue;
        if (it->is_directory())
            fs::create_directories(dst / rel);
        else if (it->is_regular_file())
            fs::copy_file(it->path(), dst / rel, fs::copy_options::overwrite_existing);
    }
    for (std::string_view sub : layout::kInstanceFolders) fs::create_directories(dst / sub);
    {
        std::ofstream out(dst / "tavdialog.js", std::ios::binary | std::ios::trunc);
        out << join_client_script((tpl / "compat").string());
        if (!out) throw std::runtime_error("cannot write " + (dst / "tavdialog.js").string());
    }
    fs::path db = layout::database_path(dst.string());
    if (!database_url.empty()) {
        use_postgresql_site(dst.string(), template_dir, database_url);
        write_postgresql_url(dst.string(), database_url);
        return;
    }
    if (fs::exists(db)) return;
    build_database(db.string(), read_schema(template_dir) + "\n" + template_sql(tpl_db / "seed.sql"));
}

std::string read_schema(const std::string& template_dir) {
    return template_sql(fs::path(template_dir) / layout::kDatabaseFolder / "schema.sql");
}

}  // namespace tav
