#pragma once

#include <kelp/users/user_database.h>
#include <kelp/util/file_identity.h>
#include <kelp/util/mutex.h>
#include <kelp/util/peer_address.h>
#include <kelp/util/token_buckets.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace kelp::host {

/// A name and a password from a header "Authorization" (RFC 7617).
struct Credentials {
    std::string name;
    std::string password;
};

/// Parse "Basic BASE64". None for any other text, or one longer than a name and a password can be.
std::optional<Credentials> credentialsOf(const std::string& authorization);

/// Checks operators' passwords. A password is hashed at most once a minute for each operator, and
/// one at a time, so that callers cannot use up the processors. An address with many wrong
/// passwords is refused without hashing, and so are
/// all when many addresses guess together. Successes and failures are recorded in the security log.
/// Any thread may call it.
class OperatorAccounts {
  public:
    using Time = std::chrono::steady_clock::time_point;

    explicit OperatorAccounts(std::filesystem::path file);
    ~OperatorAccounts();
    OperatorAccounts(const OperatorAccounts&) = delete;
    OperatorAccounts& operator=(const OperatorAccounts&) = delete;

    enum class Verdict : std::uint8_t { Admitted, Refused, TooOften };
    Verdict judge(const std::string& authorization, const util::PeerAddress& peer, Time now)
        KELP_EXCLUDES(mutex_);

  private:
    using Digest = std::array<unsigned char, 32>;
    /// Credentials count as known only at the address where they were right.
    Digest digestOf(const Credentials& given, const std::string& place) const;
    /// Count an attempt of this address. False if there were too many.
    bool mayTry(const std::string& place, Time now);
    bool isRemembered(const Digest& digest, Time now) KELP_REQUIRES(mutex_);
    /// Why the account may not be used; empty if it may.
    std::string problemOf(const Credentials& given, const util::PeerAddress& peer)
        KELP_REQUIRES(mutex_);
    void record(const std::string& name, const util::PeerAddress& peer,
                const std::string& outcome) const;

    const std::filesystem::path file_;
    const Digest key_;  ///< of the digests, so that memory has no plain hash of a password
    util::TokenBuckets failures_{1000};
    util::Mutex mutex_{util::LockRank::ServiceControl, "OperatorAccounts::mutex_"};
    std::unique_ptr<users::UserDatabase> database_ KELP_GUARDED_BY(mutex_);
    util::FileIdentity identity_ KELP_GUARDED_BY(mutex_);
    std::int64_t version_ KELP_GUARDED_BY(mutex_) = 0;
    /// Credentials that were right, with the time until which they need no new check.
    std::map<Digest, Time> remembered_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::host
