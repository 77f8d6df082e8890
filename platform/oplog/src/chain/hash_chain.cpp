#include "chain/hash_chain.h"

#include <sodium.h>

#include <stdexcept>

#include "chain/audit_key.h"

namespace kelp::oplog {

namespace {

constexpr std::size_t kBytes = 32;

std::string hexOf(const unsigned char (&hash)[kBytes]) {
    char text[2 * kBytes + 1];
    ::sodium_bin2hex(text, sizeof text, hash, kBytes);
    return text;
}

class PlainHash {
  public:
    PlainHash() { ::crypto_generichash_init(&state_, nullptr, 0, kBytes); }
    void add(const std::string& bytes) {
        ::crypto_generichash_update(&state_, reinterpret_cast<const unsigned char*>(bytes.data()),
                                    bytes.size());
    }
    std::string hex() {
        unsigned char hash[kBytes];
        ::crypto_generichash_final(&state_, hash, kBytes);
        return hexOf(hash);
    }

  private:
    crypto_generichash_state state_{};
};

class KeyedHash {
  public:
    explicit KeyedHash(const AuditKey& key) {
        ::crypto_auth_hmacsha256_init(&state_, key.bytes(), AuditKey::kBytes);
    }
    ~KeyedHash() { ::sodium_memzero(&state_, sizeof state_); }
    KeyedHash(const KeyedHash&) = delete;
    KeyedHash& operator=(const KeyedHash&) = delete;

    void add(const std::string& bytes) {
        ::crypto_auth_hmacsha256_update(
            &state_, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    }
    std::string hex() {
        unsigned char hash[kBytes];
        static_assert(crypto_auth_hmacsha256_BYTES == kBytes);
        ::crypto_auth_hmacsha256_final(&state_, hash);
        return hexOf(hash);
    }

  private:
    crypto_auth_hmacsha256_state state_{};
};

template <class Hash>
void addField(Hash& hash, const std::string& field) {
    hash.add(std::to_string(field.size()) + ":");
    hash.add(field);
}

template <class Hash>
std::string hashWith(Hash& hash, const std::string& previous, const LogEntry& entry) {
    addField(hash, previous);
    addField(hash, std::to_string(entry.id));
    addField(hash, std::to_string(entry.time.time_since_epoch().count()));
    for (const std::string* field :
         {&entry.user, &entry.nmsAddress, &entry.peer, &entry.operation, &entry.objectKind,
          &entry.object, &entry.outcome, &entry.detail})
        addField(hash, *field);
    addField(hash, entry.duration ? std::to_string(entry.duration->count()) : "");
    addField(hash, std::to_string(entry.missing));
    addField(hash, std::to_string(entry.until.time_since_epoch().count()));
    return hash.hex();
}

}  // namespace

std::string hashOf(const AuditKey* key, const std::string& previous, const LogEntry& entry) {
    if (::sodium_init() < 0)
        throw std::runtime_error("the hash function is not available");
    if (key != nullptr) {
        KeyedHash hash(*key);
        return hashWith(hash, previous, entry);
    }
    PlainHash hash;
    return hashWith(hash, previous, entry);
}

}  // namespace kelp::oplog
