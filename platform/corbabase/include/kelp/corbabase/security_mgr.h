#pragma once

#include <kelp/util/export.h>

#include <memory>
#include <string>

namespace NS_CORBA {

/// Codes that refuse a log-in; the catalogue has a text for each and the client sees EXCPT_ACCESS_DENIED.
inline constexpr unsigned long kWrongPassword = 0x048FFFA3;  ///< also for an unknown user
inline constexpr unsigned long kUserDisabled = 0x048FFFA4;
inline constexpr unsigned long kUserDatabaseUnusable = 0x048FFFA5;

/// NMS users and who of them is logged in from where. Accounts live in an SQLite database with Argon2id
/// password hashes; live log-ins in memory. Callable from any thread.
class KELP_EXPORT CorbaSecurityMgr {
  public:
    static CorbaSecurityMgr* Instance();
    static void Destroy();

    /// Opens (creating it when missing) the user database. False, traced with the reason, when that fails.
    bool Init();
    /// Ends the manager's threads. Logout goes on working.
    void ExitThread();

    /// Checks the password and enters one live log-in. `hostInfo` is the NMS's "address:port". 0, or a
    /// refusing code.
    unsigned long Login(const std::string& hostInfo, const std::string& user, const std::string& password);
    /// Checks the password of a user who is logged in already; enters nothing. 0, or a refusing code.
    unsigned long checkLogin(const std::string& hostInfo, const std::string& user,
                             const std::string& password);
    /// Ends one live log-in; unknown ones are ignored.
    void Logout(const std::string& hostInfo, const std::string& user);
    /// The user's number out of the database, by a session name text (see TEUserHelper); -1 for an unknown
    /// one.
    int GetUserID(const std::string& sessionName) const;
    /// How many log-ins of this user from this address are live; for counters and tests.
    std::size_t LiveLogins(const std::string& hostInfo, const std::string& user) const;

    CorbaSecurityMgr(const CorbaSecurityMgr&) = delete;
    CorbaSecurityMgr& operator=(const CorbaSecurityMgr&) = delete;

  private:
    CorbaSecurityMgr();
    ~CorbaSecurityMgr();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace NS_CORBA
