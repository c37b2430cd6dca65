#include "frame/host.h"

#include <ctime>
#include <fstream>
#include <random>

#include "frame/encoding.h"
#include "frame/paths.h"

namespace tav {

// ---- ParamList

void ParamList::parse(std::string_view raw) {
    std::size_t i = 0;
    while (i <= raw.size()) {
        std::size_t j = raw.find('&', i);
        if (j == std::string_view::npos) j = raw.size();
        std::string_view pair = raw.substr(i, j - i);
        if (!pair.empty()) {
            std::size_t eq = pair.find('=');
            std::string_view name = pair.substr(0, eq);
            std::string_view value = eq == std::string_view::npos ? std::string_view{} : pair.substr(eq + 1);
            items_.emplace_back(gb_to_utf8(percent_decode(name, true)),
                                gb_to_utf8(percent_decode(value, true)));
        }
        i = j + 1;
    }
}

Value ParamList::get(std::string_view name) const {
    bool found = false;
    std::string joined;
    for (const auto& [n, v] : items_) {
        if (!iequals(n, name)) continue;
        if (found) joined += ", ";
        joined += v;
        found = true;
    }
    return found ? Value(std::move(joined)) : Value();
}

// ---- Request

RequestObject::RequestObject(const HttpRequest& req) : http_(req) {
    std::string_view target = req.target;
    std::size_t q = target.find('?');
    std::string_view raw_path = target.substr(0, q);
    std::string bytes = percent_decode(raw_path, false);
    path_ = is_valid_utf8(bytes) ? bytes : gb_to_utf8(bytes);
    if (q != std::string_view::npos) query_.parse(target.substr(q + 1));
    std::string ctype = lower(req.header("Content-Type"));
    if (req.body && ctype.rfind("application/x-www-form-urlencoded", 0) == 0 &&
        req.body->size() <= (64u << 20)) {
        std::string data(req.body->size(), '\0');
        data.resize(req.body->read_at(0, data.data(), data.size()));
        form_.parse(data);
    }
}

std::string RequestObject::ServerVariables(std::string_view name) const {
    std::string n = lower(name);
    if (n == "http_host") return http_.header("Host");
    if (n == "url" || n == "path_info" || n == "script_name") return path_;
    if (n == "request_method") return http_.method;
    if (n == "remote_addr" || n == "remote_host") return http_.remote_addr;
    if (n == "query_string") {
        std::size_t q = http_.target.find('?');
        return q == std::string::npos ? "" : http_.target.substr(q + 1);
    }
    if (n == "content_type") return http_.header("Content-Type");
    if (n == "content_length") return std::to_string(TotalBytes());
    if (n.rfind("http_", 0) == 0) {
        std::string h = n.substr(5);
        for (char& c : h)
            if (c == '_') c = '-';
        return http_.header(h);
    }
    return {};
}

std::int64_t RequestObject::TotalBytes() const {
    return http_.body ? static_cast<std::int64_t>(http_.body->size()) : 0;
}

std::string RequestObject::BinaryRead(std::int64_t n) const {
    if (!http_.body || n <= 0) return {};
    std::uint64_t len = std::min<std::uint64_t>(static_cast<std::uint64_t>(n), http_.body->size());
    std::string data(len, '\0');
    data.resize(http_.body->read_at(0, data.data(), len));
    return data;
}

// ---- Response

void ResponseObject::write(std::string_view text) {
    if (redirected()) return;  // a redirect ends the answer
    body_.append(text);
}

void ResponseObject::redirect(const std::string& url) {
    body_.clear();
    location_ = url.empty() ? std::string("./") : url;
}

// ---- Sessions

std::pair<std::string, std::shared_ptr<SessionData>> SessionStore::acquire(const std::string& id,
                                                                           bool& created) {
    auto now = std::chrono::steady_clock::now();
    std::lock_guard lock(mu_);
    if (++counter_ % 256 == 0) sweep_locked(now);
    created = false;
    if (!id.empty()) {
        auto it = sessions_.find(id);
        if (it != sessions_.end()) {
            auto& s = it->second;
            std::lock_guard sl(s->mu);
            if (!s->abandoned && now - s->last_access <= idle_) {
                s->last_access = now;
                return {id, s};
            }
            sessions_.erase(it);
        }
    }
    static thread_local std::mt19937_64 rng{std::random_device{}()};
    std::string fresh;
    do {
        static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
        fresh.clear();
        for (int i = 0; i < 32; ++i) fresh += alphabet[rng() % 62];
    } while (sessions_.count(fresh));
    auto data = std::make_shared<SessionData>();
    data->last_access = now;
    sessions_.emplace(fresh, data);
    created = true;
    return {fresh, data};
}

void SessionStore::remove(const std::string& id) {
    std::lock_guard lock(mu_);
    sessions_.erase(id);
}

std::size_t SessionStore::size() {
    std::lock_guard lock(mu_);
    return sessions_.size();
}

void SessionStore::sweep_locked(std::chrono::steady_clock::time_point now) {
    for (auto it = sessions_.begin(); it != sessions_.end();) {
        std::lock_guard sl(it->second->mu);
        if (it->second->abandoned || now - it->second->last_access > idle_)
            it = sessions_.erase(it);
        else
            ++it;
    }
}

Value SessionObject::get(std::string_view key) const {
    std::lock_guard lock(data_->mu);
    auto it = data_->values.find(lower(key));
    return it == data_->values.end() ? Value() : it->second;
}

void SessionObject::set(std::string_view key, Value v) {
    std::lock_guard lock(data_->mu);
    data_->values[lower(key)] = std::move(v);
}

void SessionObject::abandon() {
    std::lock_guard lock(data_->mu);
    data_->abandoned = true;
}

bool SessionObject::abandoned() const {
    std::lock_guard lock(data_->mu);
    return data_->abandoned;
}

// ---- Server

std::string ServerObject::MapPath(std::string_view path) const {
    std::string norm;
    if (!normalize_path(path, norm)) {
        raise_error(err::invalid_call,
                    "The Path parameter for the MapPath method must stay inside the site.");
    }
    if (!norm.empty() && norm[0] == '/') norm.erase(0, 1);
    std::string full = norm.empty() ? root_ : root_ + "/" + norm;
    return resolve_without_case(full);
}

// ---- Log

void AppLog::write(int event_type, const std::string& text) {
    std::time_t t = std::time(nullptr);
    std::tm tm{};
    localtime_r(&t, &tm);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &tm);
    std::string line = std::string(stamp) + "\t" + std::to_string(event_type) + "\t" + text;
    for (char& c : line)
        if (c == '\r' || c == '\n') c = ' ';
    std::lock_guard lock(mu_);
    std::ofstream out(path_, std::ios::app | std::ios::binary);
    out << line << '\n';
}

// ---- Globals

namespace {
Context& ctx() {
    Context* c = current_context();
    if (!c) throw std::logic_error("host object used outside a request");
    return *c;
}
}  // namespace

Value RequestGlobal::querystring(std::string_view name, SrcLoc loc) const {
    host_call(loc);
    return ctx().request->querystring(name);
}
Value RequestGlobal::Form(std::string_view name, SrcLoc loc) const {
    host_call(loc);
    return ctx().request->Form(name);
}
std::string RequestGlobal::ServerVariables(std::string_view name, SrcLoc loc) const {
    host_call(loc);
    return ctx().request->ServerVariables(name);
}
std::int64_t RequestGlobal::TotalBytes(SrcLoc loc) const {
    host_call(loc);
    return ctx().request->TotalBytes();
}
std::string RequestGlobal::BinaryRead(std::int64_t n, SrcLoc loc) const {
    host_call(loc);
    return ctx().request->BinaryRead(n);
}
RequestObject& RequestGlobal::object() const { return *ctx().request; }

void ResponseGlobal::put(std::string_view text, const char* tail, SrcLoc loc) const {
    host_call(loc);
    ResponseObject& r = *ctx().response;
    r.write(text);
    if (*tail) r.write(tail);
}
void ResponseGlobal::redirect(const std::string& url, SrcLoc loc) const {
    host_call(loc);
    ctx().response->redirect(url);
}
void ResponseGlobal::buffer(bool on, SrcLoc loc) const {
    host_call(loc);
    ctx().response->set_buffer(on);
}
ResponseObject& ResponseGlobal::object() const { return *ctx().response; }

Value SessionGlobal::operator()(std::string_view key, SrcLoc loc) const {
    host_call(loc);
    return ctx().session->get(key);
}
void SessionGlobal::set(std::string_view key, Value v, SrcLoc loc) const {
    host_call(loc);
    ctx().session->set(key, std::move(v));
}
void SessionGlobal::abandon(SrcLoc loc) const {
    host_call(loc);
    ctx().session->abandon();
}

std::string ServerGlobal::MapPath(std::string_view path, SrcLoc loc) const {
    host_call(loc);
    return ctx().server->MapPath(path);
}
void ServerGlobal::ScriptTimeOut(long seconds, SrcLoc loc) const {
    host_call(loc);
    ctx().server->set_script_timeout(seconds);
}
ServerObject& ServerGlobal::object() const { return *ctx().server; }

}  // namespace tav
