#include "frame/host.h"


#include "frame/encoding.h"
#include "frame/paths.h"

namespace tav {

// ---- Request

std::string RequestObject::ServerVariables(std::string_view name) const {
    std::string n = lower(name);
    if (n == "http_host") return data_.header("Host");
    if (n == "url" || n == "path_info" || n == "script_name") return data_.path;
    if (n == "request_method") return data_.method;
    if (n == "remote_addr" || n == "remote_host") return data_.remote_addr;
    if (n == "query_string") return data_.query_string;
    if (n == "content_type") return data_.header("Content-Type");
    if (n == "content_length") return std::to_string(TotalBytes());
    if (n.rfind("http_", 0) == 0) {
        std::string h = n.substr(5);
        for (char& c : h)
            if (c == '_') c = '-';
        return data_.header(h);
    }
    return {};
}

std::int64_t RequestObject::TotalBytes() const {
    return data_.body ? static_cast<std::int64_t>(data_.body->size()) : 0;
}

std::string RequestObject::BinaryRead(std::int64_t n) const {
    if (!data_.body || n <= 0) return {};
    std::uint64_t len = std::min<std::uint64_t>(static_cast<std::uint64_t>(n), data_.body->size());
    std::string data(len, '\0');
    data.resize(data_.body->read_at(0, data.data(), len));
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

// ---- Session

Value SessionObject::get(std::string_view key) const {
    if (!data_) return Value();
    std::lock_guard lock(data_->mu);
    auto it = data_->values.find(lower(key));
    return it == data_->values.end() ? Value() : it->second;
}

void SessionObject::set(std::string_view key, Value v) {
    if (!data_) {
        data_ = std::make_shared<SessionData>();
        created_ = true;
    }
    std::lock_guard lock(data_->mu);
    data_->values[lower(key)] = std::move(v);
}

// ---- Server

std::string ServerObject::MapPath(std::string_view path) const {
    std::string norm;
    if (!normalize_path(path, norm)) {
        raise_error(err::invalid_call,
                    "The Path parameter for the MapPath method must stay inside the site.");
    }
    if (!norm.empty() && norm[0] == '/') norm.erase(0, 1);
    if (norm.empty()) return root_;  // every page's database path starts here
    std::string full = root_ + "/" + norm;
    return resolve_without_case(full);
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
void ResponseGlobal::client_compat(unsigned bits, SrcLoc loc) const {
    host_call(loc);
    ctx().response->need_client_compat(bits);
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
void SessionGlobal::renew(SrcLoc loc) const {
    host_call(loc);
    ctx().session->renew();
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
