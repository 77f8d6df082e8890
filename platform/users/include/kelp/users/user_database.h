#pragma once

#include <kelp/util/export.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelp::users {

/// One NMS account, without its password.
struct KELP_EXPORT UserAccount {
    std::int64_t id = 0;
    std::string name;
    bool enabled = true;
    std::int64_t createdUtc = 0;  ///< seconds since the epoch
    std::int64_t passwordChangedUtc = 0;
    /// When the account expires, in seconds since the epoch; none: never.
    std::optional<std::int64_t> expiresUtc;
    /// Networks that the user may log in from, each "address" or "address/prefix length". Empty:
    /// any.
    std::vector<std::string> networks;
    /// Subjects of the certificates that the user may log in with, normalised by UserDatabase.
    /// Empty: any certificate, or none at all.
    std::vector<std::string> subjects;
    std::int64_t passwordNumber = 0;  ///< increases with every new password
    std::int64_t unlocks = 0;  ///< increases each time the operator lifts the user's lock-outs

    bool isExpired(std::int64_t nowUtc) const { return expiresUtc && *expiresUtc <= nowUtc; }
    /// Whether the user may log in with a certificate of this normalised subject. Empty: without a
    /// certificate.
    bool allowsCertificate(const std::string& subject) const {
        return subjects.empty() ||
               std::find(subjects.begin(), subjects.end(), subject) != subjects.end();
    }
};

/// The cost of one Argon2id hash.
struct KELP_EXPORT HashCost {
    std::uint32_t memoryKib = 19456;
    std::uint32_t passes = 2;
};

/// The SQLite database of the accounts, shared by the agent and the operator's tool, which are
/// separate processes. Operations throw std::runtime_error with a one-sentence message, also when
/// another process keeps the file locked for more than 2 s. One object must not be used
/// concurrently.
class KELP_EXPORT UserDatabase {
  public:
    enum class Missing { IsMade, IsAnError };

    /// Open the file. A missing file is created (mode 0600, with its folder and tables) or reported
    /// as an error.
    explicit UserDatabase(const std::filesystem::path& file, Missing missing = Missing::IsMade);
    ~UserDatabase();
    UserDatabase(const UserDatabase&) = delete;
    UserDatabase& operator=(const UserDatabase&) = delete;

    /// A name has 1 to 64 bytes of UTF-8 without control characters. '<' and '>' are not allowed,
    /// because they would make the tagged session name ambiguous. A password has 1 to 1024 bytes.
    void add(const std::string& name, const std::string& password, const HashCost& cost);
    void setPassword(const std::string& name, const std::string& password, const HashCost& cost);
    void setEnabled(const std::string& name, bool enabled);
    /// Set when the account expires, in seconds since the epoch; none: never.
    void setExpiry(const std::string& name, std::optional<std::int64_t> expiresUtc);
    /// Set the networks that the user may log in from, IPv4 and IPv6. Empty: any. An IPv4 network
    /// also contains peers that appear as IPv4-mapped IPv6.
    void setNetworks(const std::string& name, const std::vector<std::string>& networks);
    /// Set the subjects (RFC 4514) of the certificates that the user may log in with, at most 2 KiB
    /// each. Empty: any certificate, or none at all. Subjects are normalised: attribute types in
    /// capitals, no spaces around separators, values unchanged.
    void setSubjects(const std::string& name, const std::vector<std::string>& subjects);
    /// Ask the agent to lift the user's lock-outs.
    void unlock(const std::string& name);
    void remove(const std::string& name);
    std::vector<UserAccount> list();
    std::optional<UserAccount> find(const std::string& name);
    /// Return the account if the password is right, whatever the state of the account. Compares in
    /// constant time. An unknown user takes as long as the oldest account, or as one hash of `cost`
    /// when there are no accounts. This hides which names exist, as long as all hashes have the
    /// same cost.
    std::optional<UserAccount> authenticate(const std::string& name, const std::string& password,
                                            const HashCost& cost);
    /// Whether authenticate() finds the account.
    bool passwordMatches(const std::string& name, const std::string& password,
                         const HashCost& cost);

    /// Return a number that changes whenever another connection changes the database (PRAGMA
    /// data_version).
    std::int64_t dataVersion();
    /// Set how long this object waits for a locked file from now on.
    void setPatience(std::chrono::milliseconds patience);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The file of the key security.database, or the default file in the state directory.
KELP_EXPORT std::filesystem::path userDatabaseFile();
/// The database of the operators who may read the operator's interface over the network: the file
/// of the key admin.operators, or operators.db in the state directory.
KELP_EXPORT std::filesystem::path operatorDatabaseFile();
/// The cost of the keys security.hash_memory_kib and security.hash_passes.
KELP_EXPORT HashCost configuredHashCost();

}  // namespace kelp::users
