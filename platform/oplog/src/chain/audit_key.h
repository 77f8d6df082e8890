#pragma once

#include <kelp/oplog/chain_head.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>

namespace kelp::oplog {

/// The secret key of the security log's chain, and the place where an existing chain without a key
/// continued with it. Immutable. The memory is wiped when the last owner releases it.
class AuditKey {
  public:
    static constexpr std::size_t kBytes = 32;

    /// Read the key. Returns null if the file is missing. Throws LogFailure if the file cannot be
    /// trusted, because somebody else can read or write it, or holds no valid key.
    static std::shared_ptr<const AuditKey> read(const std::filesystem::path& file);
    /// Write a new key from the system's random source to a new file of mode 0600. Writes the whole
    /// file or none. If another process creates the file at the same time, that file is kept.
    /// `begun` is the head of a chain without a key that continues with this key. Throws
    /// LogFailure.
    static void make(const std::filesystem::path& file, const ChainHead& begun);

    ~AuditKey();
    AuditKey(const AuditKey&) = delete;
    AuditKey& operator=(const AuditKey&) = delete;

    const unsigned char* bytes() const { return bytes_.data(); }
    /// An identifier of the key that does not reveal it.
    const std::string& id() const { return id_; }
    /// The last record that was made without the key. Its number is 0 if there is none.
    const ChainHead& begun() const { return begun_; }

  private:
    AuditKey() = default;

    std::array<unsigned char, kBytes> bytes_{};
    std::string id_;
    ChainHead begun_;
};

}  // namespace kelp::oplog
