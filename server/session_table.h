// The sessions of a site several servers share: a table of its database,
// reached through the store like the pages' tables.
#pragma once

#include <memory>
#include <string>

#include "frame/host.h"
#include "server/sessions.h"

namespace tav {

// The table tav_session of the database at db_path (schema.postgresql.sql);
// failures go to log.
std::unique_ptr<SessionBacking> session_table(const std::string& db_path, AppLog& log);

}  // namespace tav
