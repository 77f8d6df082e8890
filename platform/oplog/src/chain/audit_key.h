#pragma once

#include <kelp/oplog/security_log.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>

namespace kelp::oplog {

/// The secret that the security log's chain is made with, and the place where a chain that had been
/// begun without one went over to it. Constant; wiped with its last owner.
class AuditKey {
  public:
    static constexpr std::size_t kBytes = 32;

    /// None when the file is missing. Throws LogFailure when it cannot be relied on: somebody else
    /// can read or write it, or it holds no key.
    static std::shared_ptr<const AuditKey> read(const std::filesystem::path& file);
    /// Writes a new key from the system's random source to a new file of mode 0600, whole or not at
    /// all. A file that another process makes meanwhile stays. `begun`: the head of a chain without
    /// a key that goes on with this one. Throws LogFailure.
    static void make(const std::filesystem::path& file, const ChainHead& begun);

    ~AuditKey();
    AuditKey(const AuditKey&) = delete;
    AuditKey& operator=(const AuditKey&) = delete;

    const unsigned char* bytes() const { return bytes_.data(); }
    /// A name for the key that does not give it away.
    const std::string& id() const { return id_; }
    /// The last record that was made without the key; number 0: none.
    const ChainHead& begun() const { return begun_; }

  private:
    AuditKey() = default;

    std::array<unsigned char, kBytes> bytes_{};
    std::string id_;
    ChainHead begun_;
};

}  // namespace kelp::oplog
