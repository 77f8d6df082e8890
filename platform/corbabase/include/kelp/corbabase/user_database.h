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

namespace NS_CORBA {

/// One NMS account, without its password.
struct KELP_EXPORT UserAccount {
    std::int64_t id = 0;
    std::string name;
    bool enabled = true;
    std::int64_t createdUtc = 0;  ///< seconds since the epoch
    std::int64_t passwordChangedUtc = 0;
    std::optional<std::int64_t>
        expiresUtc;  ///< from when on the account is no longer valid; none: never
    /// Networks that the user may log in from, "address" or "address/prefix length"; empty: any.
    std::vector<std::string> networks;
    /// Subjects of the certificates that the user may log in with, as UserDatabase has normalised
    /// them; empty: any, and none at all.
    std::vector<std::string> subjects;
    std::int64_t passwordNumber = 0;  ///< grows with every new password
    std::int64_t unlocks = 0;         ///< grows each time the operator takes lock-outs back

    bool isExpired(std::int64_t nowUtc) const { return expiresUtc && *expiresUtc <= nowUtc; }
    /// Whether the user may log in with a certificate of this subject, normalised; empty: without
    /// one.
    bool allowsCertificate(const std::string& subject) const {
        return subjects.empty() ||
               std::find(subjects.begin(), subjects.end(), subject) != subjects.end();
    }
};

/// Cost of one Argon2id hash.
struct KELP_EXPORT HashCost {
    std::uint32_t memoryKib = 19456;
    std::uint32_t passes = 2;
};

/// The accounts' SQLite database, shared by the agent and the operator's tool (separate processes).
/// Operations throw std::runtime_error with one clear sentence, also when another process has
/// locked the file for more than 2 s. Not for concurrent use of one object.
class KELP_EXPORT UserDatabase {
  public:
    enum class Missing { IsMade, IsAnError };

    /// Opens the file. A missing one is made (mode 0600, with its folder and tables) unless that is
    /// an error.
    explicit UserDatabase(const std::filesystem::path& file, Missing missing = Missing::IsMade);
    ~UserDatabase();
    UserDatabase(const UserDatabase&) = delete;
    UserDatabase& operator=(const UserDatabase&) = delete;

    /// A name has 1 to 64 bytes of UTF-8 without control characters and without '<' and '>', which
    /// would make the tagged session name ambiguous. A password has 1 to 1024 bytes.
    void add(const std::string& name, const std::string& password, const HashCost& cost);
    void setPassword(const std::string& name, const std::string& password, const HashCost& cost);
    void setEnabled(const std::string& name, bool enabled);
    /// From when on the account is no longer valid, in seconds since the epoch; none: never.
    void setExpiry(const std::string& name, std::optional<std::int64_t> expiresUtc);
    /// The networks that the user may log in from, IPv4 and IPv6; empty: any. An IPv4 network also
    /// holds peers that are seen as IPv4-mapped IPv6.
    void setNetworks(const std::string& name, const std::vector<std::string>& networks);
    /// The subjects (RFC 4514) of the certificates that the user may log in with; empty: any, and
    /// none at all. They are kept in one form: attribute types in capitals, no spaces around
    /// separators, values as they are. At most 2 KiB each.
    void setSubjects(const std::string& name, const std::vector<std::string>& subjects);
    /// Tells the agent to take the user's lock-outs back.
    void unlock(const std::string& name);
    void remove(const std::string& name);
    std::vector<UserAccount> list();
    std::optional<UserAccount> find(const std::string& name);
    /// The account if the password is right, whatever state it is in. Compares in constant time; an
    /// unknown user costs what the first of the known ones does, and a hash of `cost` when there is
    /// none.
    std::optional<UserAccount> authenticate(const std::string& name, const std::string& password,
                                            const HashCost& cost);
    /// authenticate() as a question.
    bool passwordMatches(const std::string& name, const std::string& password,
                         const HashCost& cost);

    /// A number that is another one after somebody else has changed the database (PRAGMA
    /// data_version).
    std::int64_t dataVersion();
    /// How long this object waits for a locked file from now on.
    void setPatience(std::chrono::milliseconds patience);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The file configured, or the default below the state directory.
KELP_EXPORT std::filesystem::path userDatabaseFile();
/// The cost configured.
KELP_EXPORT HashCost configuredHashCost();

}  // namespace NS_CORBA
