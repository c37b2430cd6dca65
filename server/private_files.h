// Who may read the files accounts uploaded (the private folders of
// frame/site_layout.h): user/NAME/ only NAME's own session, Email/ the
// sender and recipients of a mail that names the file, Datas/ and Medium/
// any signed-in session.
#pragma once

#include <mutex>
#include <string>
#include <string_view>

#include "frame/host.h"
#include "frame/store.h"

namespace tav {

class PrivateFiles {
public:
    explicit PrivateFiles(std::string site_root);

    // Whether a normalized path ("/user/ann/a.txt") lies in a private folder.
    static bool holds(std::string_view norm);
    // Whether the session (null: none) may read the private file at norm.
    bool may_read(std::string_view norm, const SessionData* session);

private:
    // Both read the rows as they are now: a renamed account or a deleted
    // mail counts from the next request on.
    std::string account_name(const Value& id);
    bool mail_attachment_of(const std::string& name, const Value& id);
    // Runs body on the kept connection (opened on first use, again after a
    // failure or when the database file was replaced); false on failure.
    template <class F>
    bool with_store(F&& body);

    std::string db_path_;
    std::mutex mu_;  // the connection serves one reader at a time
    Connection conn_;
};

}  // namespace tav
