#include "frame/password.h"

#include <sodium.h>

#include <atomic>
#include <stdexcept>

namespace tav::password {

namespace {

void ready() {
    // Safe to call from every thread and every time; only the first does work.
    if (sodium_init() < 0) throw std::runtime_error("libsodium cannot start");
}

constexpr std::string_view kPrefix = "$argon2id$";

std::atomic<bool> g_least{false};

}  // namespace

std::string hash(std::string_view clear) {
    ready();
    char out[crypto_pwhash_STRBYTES];
    const bool least = g_least.load(std::memory_order_relaxed);
    if (crypto_pwhash_str(out, clear.data(), clear.size(),
                          least ? crypto_pwhash_OPSLIMIT_MIN : crypto_pwhash_OPSLIMIT_INTERACTIVE,
                          least ? crypto_pwhash_MEMLIMIT_MIN : crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0)
        throw std::runtime_error("out of memory while hashing a password");
    return out;
}

void use_least_cost() { g_least.store(true, std::memory_order_relaxed); }

bool is_hash(std::string_view stored) { return stored.substr(0, kPrefix.size()) == kPrefix; }

bool matches(std::string_view typed, std::string_view stored) {
    if (is_hash(stored)) {
        ready();
        std::string s(stored);  // the verifier wants a terminated string
        return crypto_pwhash_str_verify(s.c_str(), typed.data(), typed.size()) == 0;
    }
    // An old row: the clear text, compared without leaking where it differs.
    return typed.size() == stored.size() &&
           (typed.empty() || sodium_memcmp(typed.data(), stored.data(), typed.size()) == 0);
}

bool acceptable(std::string_view clear) {
    if (clear.empty() || clear.size() > 64) return false;
    for (unsigned char c : clear)
        if (!(c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'))) return false;
    return true;
}

}  // namespace tav::password
