#include "hash_chain.h"

#include <sodium.h>

#include <stdexcept>

namespace kelp::oplog {

namespace {

class Hash {
  public:
    Hash() {
        if (sodium_init() < 0 || crypto_generichash_init(&state_, nullptr, 0, kBytes) != 0)
            throw std::runtime_error("the hash function is not available");
    }
    void add(const std::string& field) {
        addBytes(std::to_string(field.size()) + ":");
        addBytes(field);
    }
    std::string hex() {
        unsigned char hash[kBytes];
        crypto_generichash_final(&state_, hash, kBytes);
        char text[2 * kBytes + 1];
        sodium_bin2hex(text, sizeof text, hash, kBytes);
        return text;
    }

  private:
    static constexpr std::size_t kBytes = crypto_generichash_BYTES;
    void addBytes(const std::string& bytes) {
        crypto_generichash_update(&state_, reinterpret_cast<const unsigned char*>(bytes.data()),
                                  bytes.size());
    }
    crypto_generichash_state state_{};
};

}  // namespace

std::string hashOf(const std::string& previous, const LogEntry& entry) {
    Hash hash;
    hash.add(previous);
    hash.add(std::to_string(entry.id));
    hash.add(std::to_string(entry.time.time_since_epoch().count()));
    for (const std::string* field : {&entry.user, &entry.nmsAddress, &entry.peer, &entry.operation,
                                     &entry.objectKind, &entry.object, &entry.outcome, &entry.detail})
        hash.add(*field);
    hash.add(entry.duration ? std::to_string(entry.duration->count()) : "");
    hash.add(std::to_string(entry.missing));
    hash.add(std::to_string(entry.until.time_since_epoch().count()));
    return hash.hex();
}

}  // namespace kelp::oplog
