#include "server/session_table.h"

#include "frame/store.h"

namespace tav {

namespace {

class SessionTable final : public SessionBacking {
public:
    SessionTable(std::string db_path, AppLog& log)
        : connect_("driver={Microsoft Access Driver (*.mdb)};dbq=" + std::move(db_path)), log_(log) {}

    std::optional<Row> load(const std::string& key) override {
        Connection c = open();
        Recordset rs = c.execute("select vals, account, expires from tav_session where id_hash='"_sql + key + "'");
        if (rs.eof()) return std::nullopt;
        return Row{rs("vals").str(), rs("account").lng() != 0, rs("expires").lng()};
    }
    void insert(const std::string& key, const Row& row) override {
        open().execute("insert into tav_session (id_hash, vals, account, expires) values ('"_sql + key + "', '" +
                       row.values + "', " + (row.account ? 1 : 0) + ", " + row.expires + ")");
    }
    void save(const std::string& key, const Row& row) override {
        open().execute("update tav_session set vals='"_sql + row.values + "', account=" + (row.account ? 1 : 0) +
                       ", expires=" + row.expires + " where id_hash='" + key + "'");
    }
    bool save_if(const std::string& key, const Row& row, const std::string& was) override {
        Connection c = open();
        c.execute("update tav_session set vals='"_sql + row.values + "', account=" + (row.account ? 1 : 0) +
                  ", expires=" + row.expires + " where id_hash='" + key + "' and vals='" + was + "'");
        // The store gives no count of changed rows: the row tells. Another
        // server writing the same values after this one counts as written.
        Recordset rs = c.execute("select vals from tav_session where id_hash='"_sql + key + "'");
        return !rs.eof() && rs("vals").str() == row.values;
    }
    void touch(const std::string& key, long long expires) override {
        open().execute("update tav_session set expires="_sql + expires + " where id_hash='" + key + "'");
    }
    void rename(const std::string& from, const std::string& to) override {
        open().execute("update tav_session set id_hash='"_sql + to + "' where id_hash='" + from + "'");
    }
    void remove(const std::string& key) override {
        open().execute("delete from tav_session where id_hash='"_sql + key + "'");
    }
    void sweep(long long now, std::size_t cap) override {
        Connection c = open();
        c.execute("delete from tav_session where expires<"_sql + now);
        Recordset rs = c.execute("select count(*) as n from tav_session");
        const long long over = rs.eof() ? 0 : rs("n").lng() - static_cast<long long>(cap);
        // Signed-in sessions are never dropped for room: only a login makes
        // one, and the login is throttled.
        if (over <= 0) return;
        // The expiry of the last one to go, then all up to it (ties go
        // too). top takes a number written in the statement, not a bound
        // value; this one is the program's own count.
        Recordset idle = c.execute(Sql::trusted("select top " + std::to_string(over) +
                                                " expires from tav_session where account=0 order by expires"));
        long long cutoff = 0;
        bool any = false;
        for (; !idle.eof(); idle.movenext(), any = true) cutoff = idle("expires").lng();
        if (any) c.execute("delete from tav_session where account=0 and expires<="_sql + cutoff);
    }
    std::size_t count(long long now) override {
        Recordset rs = open().execute("select count(*) as n from tav_session where expires>="_sql + now);
        return rs.eof() ? 0 : static_cast<std::size_t>(rs("n").lng());
    }
    void failed(const std::string& what) override { log_.write(1, "Tavelor.SessionTable " + what); }

private:
    Connection open() {
        Connection c;
        c.Open(connect_);
        return c;
    }
    std::string connect_;
    AppLog& log_;
};

}  // namespace

std::unique_ptr<SessionBacking> session_table(const std::string& db_path, AppLog& log) {
    return std::make_unique<SessionTable>(db_path, log);
}

}  // namespace tav
