#pragma once

#include <kelp/util/export.h>

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
};

/// Cost of one Argon2id hash.
struct KELP_EXPORT HashCost {
    std::uint32_t memoryKib = 19456;
    std::uint32_t passes = 2;
};

/// The accounts' SQLite database, shared by the agent and the operator's tool (separate processes).
/// Operations throw std::runtime_error with one clear sentence, also when another process has locked the file
/// for more than 2 s. Not for concurrent use of one object.
class KELP_EXPORT UserDatabase {
  public:
    enum class Missing { IsMade, IsAnError };

    /// Opens the file. A missing one is made (mode 0600, with its folder and tables) unless that is an error.
    explicit UserDatabase(const std::filesystem::path& file, Missing missing = Missing::IsMade);
    ~UserDatabase();
    UserDatabase(const UserDatabase&) = delete;
    UserDatabase& operator=(const UserDatabase&) = delete;

    /// A name has 1 to 64 bytes of UTF-8 without control characters and without '<' and '>', which would make
    /// the tagged session name ambiguous. A password has 1 to 1024 bytes.
    void add(const std::string& name, const std::string& password, const HashCost& cost);
    void setPassword(const std::string& name, const std::string& password, const HashCost& cost);
    void setEnabled(const std::string& name, bool enabled);
    void remove(const std::string& name);
    std::vector<UserAccount> list();
    std::optional<UserAccount> find(const std::string& name);
    /// The account if the password is right, disabled or not. Compares in constant time; an unknown user
    /// costs the same time. `cost` is that of the hashes stored.
    std::optional<UserAccount> authenticate(const std::string& name, const std::string& password,
                                            const HashCost& cost);
    /// authenticate() as a question.
    bool passwordMatches(const std::string& name, const std::string& password, const HashCost& cost);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The file configured, or the default below the state directory.
KELP_EXPORT std::filesystem::path userDatabaseFile();
/// The cost configured.
KELP_EXPORT HashCost configuredHashCost();

}  // namespace NS_CORBA
