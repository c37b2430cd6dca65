// A site instance on disk: made from the template, and where its log goes.
#pragma once

#include <string>

namespace tav {

// Makes a site instance in dir from the template: the static files, the
// empty folders the pages write into, and the database (an existing one is
// left alone). With a postgresql:// database_url the rows live on that
// server instead: the URL is kept in datebase/postgresql.url and an empty
// database gets the template's tables (schema.postgresql.sql) and seed rows.
void init_site(const std::string& dir, const std::string& template_dir, const std::string& database_url = {});

// Serving a site on the PostgreSQL server at url (serve --database): its
// pages' connections open that server, and an empty database is filled as
// init does.
void use_postgresql_site(const std::string& dir, const std::string& template_dir, const std::string& url);

// Writes the server's URL where serve and the store look for it
// (datebase/postgresql.url), readable by its owner only.
void write_postgresql_url(const std::string& dir, const std::string& url);

// The template's schema: what a new database is built from and what an
// older one is brought up to at start.
std::string read_schema(const std::string& template_dir);

// The client script that pages asking for kCompatDialogs load as
// tavdialog.js: the parts in compat_dir joined in the order its order.txt
// lists them (they share one closure, so the browser gets one file). Written
// by init_site, so serving needs no build step of its own.
std::string join_client_script(const std::string& compat_dir);

// The default application log of an instance: beside its folder.
std::string default_log_path(const std::string& dir);

}  // namespace tav
