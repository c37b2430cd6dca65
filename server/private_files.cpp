#include "server/private_files.h"

#include "frame/errors.h"
#include "frame/paths.h"
#include "frame/site_layout.h"
#include "frame/value.h"
#include "server/session_glue.h"

namespace tav {

namespace {

// A stored name as one element of a mail's attachment list (names joined
// by '*').
bool names_file(const std::string& list, const std::string& name) {
    std::size_t i = 0;
    while (i <= list.size()) {
        std::size_t j = list.find('*', i);
        if (j == std::string::npos) j = list.size();
        if (iequals(std::string_view(list).substr(i, j - i), name)) return true;
        i = j + 1;
    }
    return false;
}

std::string_view first_component(std::string_view norm, std::size_t& slash) {
    slash = norm.find('/', 1);
    return norm.substr(1, slash == std::string_view::npos ? std::string_view::npos : slash - 1);
}

}  // namespace

PrivateFiles::PrivateFiles(std::string site_root) : db_path_(layout::database_path(site_root)) {}

bool PrivateFiles::holds(std::string_view norm) {
    std::size_t slash;
    std::string_view first = first_component(norm, slash);
    return slash != std::string_view::npos && layout::is_private_folder(first);
}

template <class F>
bool PrivateFiles::with_store(F&& body) {
    std::lock_guard lock(mu_);
    try {
        if (conn_.is_open() && !conn_.file_unchanged()) conn_.close();
        if (!conn_.is_open()) conn_.Open("driver={Microsoft Access Driver (*.mdb)};dbq=" + db_path_);
        body(conn_);
        return true;
    } catch (const PageError&) {
        conn_.close();  // opened anew on the next request
        return false;
    }
}

std::string PrivateFiles::account_name(const Value& id) {
    double n = 0;
    if (!parse_number(id.str(), n)) return {};
    std::string name;
    with_store([&](Connection& conn) {
        Recordset rs = conn.execute("select username from user where id="_sql + Value(n));
        if (!rs.eof()) name = rs("username").str();
    });
    return name;
}

bool PrivateFiles::mail_attachment_of(const std::string& name, const Value& id) {
    // Email/NAME only: the mail pages store attachments flat.
    if (name.empty() || name.find('/') != std::string::npos || name.find('*') != std::string::npos) return false;
    double n = 0;
    if (!parse_number(id.str(), n)) return false;
    bool found = false;
    with_store([&](Connection& conn) {
        // Through the mailbox indexes of the account, and only mails whose
        // list holds the name somewhere; the list is split here, where the
        // name must be a whole element.
        for (Sql side : {"select top 64 email_doc from email where to_user_id="_sql,
                         "select top 64 email_doc from email where send_user_id="_sql}) {
            Recordset rs = conn.execute(side + Value(n) + " and instr(lower(email_doc),lower('" + name + "'))>0");
            for (; !rs.eof() && !found; rs.movenext()) found = names_file(rs("email_doc").str(), name);
            if (found) break;
        }
    });
    return found;
}

bool PrivateFiles::may_read(std::string_view norm, const SessionData* session) {
    std::size_t a;
    std::string_view first = first_component(norm, a);
    if (a == std::string_view::npos || !layout::is_private_folder(first)) return true;
    if (!session) return false;
    Value id = session_value(*session, "user_id");
    if (session_value(*session, "qwx3trh_k7").str() != "yes" || id.str().empty()) return false;
    if (iequals(first, layout::kMailFolder)) return mail_attachment_of(std::string(norm.substr(a + 1)), id);
    if (!iequals(first, layout::kUserFolder)) return true;
    // user/NAME/...: only NAME's own session.
    std::size_t b = norm.find('/', a + 1);
    if (b == std::string_view::npos) return false;
    std::string name = account_name(id);
    return !name.empty() && iequals(name, norm.substr(a + 1, b - a - 1));
}

}  // namespace tav
