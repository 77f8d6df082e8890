#pragma once

#include <kelp/orb/request.h>
#include <kelp/users/user_database.h>
#include <kelp/util/export.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace NS_CORBA {

/// Error codes of a refused log-in. The error catalogue has a text for each. The client sees
/// EXCPT_ACCESS_DENIED.
inline constexpr unsigned long kWrongPassword = 0x048FFFA3;  ///< also for an unknown user
inline constexpr unsigned long kUserDisabled = 0x048FFFA4;
inline constexpr unsigned long kUserDatabaseUnusable = 0x048FFFA5;
inline constexpr unsigned long kUserLockedOut = 0x048FFFA6;  ///< also for an unknown user
inline constexpr unsigned long kUserExpired = 0x048FFFA7;
/// This user may not log in from this address.
inline constexpr unsigned long kAddressNotAllowed = 0x048FFFA8;
inline constexpr unsigned long kTooManyAccountSessions = 0x048FFFA9;
inline constexpr unsigned long kTooManyAddressSessions = 0x048FFFAA;
/// This user may not log in with this certificate, or not without one.
inline constexpr unsigned long kCertificateNotAllowed = 0x048FFFAB;
/// The operator drains the host: log-ins are refused until that ends.
inline constexpr unsigned long kDraining = 0x048FFFAC;
/// A user name or password is longer than kLogInTextBytesMax. The client sees EXCPT_INVALID_INPUT.
inline constexpr unsigned long kOverlongLogIn = 0x41180057;

/// Maximum length of a user name or password at log-in, in bytes. No account's name or password is
/// longer. The limit keeps callers from making the EMS copy or hash megabytes.
inline constexpr std::size_t kLogInTextBytesMax = 1024;

/// The result of CorbaSecurityMgr::Admit for a correct password. It does not log anybody in.
class KELP_EXPORT Admission {
    friend class CorbaSecurityMgr;
    std::string hostInfo_;
    std::string user_;
    kelp::users::UserAccount account_;
};

/// A user who may not log in from an address for a while.
struct LockOut {
    std::string user;  ///< as the caller named it; may not exist
    std::string address;
    std::chrono::system_clock::time_point since;  ///< of the last wrong password
    std::chrono::seconds left{0};
};

/// Manages NMS users: checks log-ins and keeps who is logged in from where. Accounts are stored in
/// an SQLite database with Argon2id password hashes. Live log-ins and failed attempts are kept in
/// memory. Any thread may call it.
///
/// The origin of a log-in is the peer of the current request's connection, not `hostInfo`. After
/// `[security] lockout_failures` wrong passwords a user is locked out at that address: further
/// attempts are refused before a password is hashed. Only a caller with the right password learns
/// that the account is disabled, has expired, or may not be used from that address or with that
/// connection's certificate.
///
/// Between Init and ExitThread, light event 119 (user state change) is raised for a live log-in
/// whose user was disabled or removed, got a new password, was bound to other certificates or has
/// expired. It is raised within 1 s, whichever process made the change. It is raised again, with
/// growing pauses, until Logout ends the log-in.
class KELP_EXPORT CorbaSecurityMgr {
  public:
    static CorbaSecurityMgr* Instance();
    static void Destroy();

    /// Open the user database, creating a missing one, and start the manager's thread. False,
    /// traced with the reason, when that fails.
    bool Init();
    /// End the manager's thread. Logout still works afterwards.
    void ExitThread();

    /// Check the password and whether the account may be used now, without logging in. `hostInfo`
    /// is the NMS's "address:port". Return 0 or a refusing code. The only operation of a log-in
    /// that hashes a password.
    unsigned long Admit(const std::string& hostInfo, const std::string& user,
                        const std::string& password, Admission& admission);
    /// Check whether the account still allows the log-in that Admit accepted, for a log-in that had
    /// to wait in between. Return 0 or a refusing code.
    unsigned long StillAdmits(const Admission& admission);
    /// Record one live log-in.
    void Enter(const Admission& admission);
    /// Update the live log-in of this user and NMS with the account and password just checked. Does
    /// not record a new log-in.
    void Renew(const Admission& admission);

    /// Admit and Enter together. Return 0 or a refusing code.
    unsigned long Login(const std::string& hostInfo, const std::string& user,
                        const std::string& password);
    /// Admit and Renew together. Return 0 or a refusing code.
    unsigned long checkLogin(const std::string& hostInfo, const std::string& user,
                             const std::string& password);
    /// Check whether one more log-in of this user and NMS keeps within [session] per_account_max
    /// and per_address_max. Existing log-ins of the same user and NMS do not count, because the new
    /// one replaces them. Return 0 or a refusing code. To be called only after the password was
    /// right.
    unsigned long CheckRoom(const std::string& hostInfo, const std::string& user);
    /// Refuse texts longer than kLogInTextBytesMax, before anything else reads them. Return 0 or a
    /// refusing code.
    unsigned long CheckLengths(std::string_view user, std::string_view password);

    /// End one live log-in. Unknown ones are ignored.
    void Logout(const std::string& hostInfo, const std::string& user);
    /// Return the number of a session's user from the database; -1 for an unknown user.
    /// `sessionName` is a tagged session name (see TEUserHelper).
    int GetUserID(const std::string& sessionName) const;
    /// Whether somebody is logged in from this peer's address, on any port, with an account that
    /// still allows it. False for an empty address. Fast enough to be called for every request.
    bool IsLoggedInFrom(const kelp::util::PeerAddress& peer) const;
    /// The lock-outs that last, at most 100.
    std::vector<LockOut> LockOuts() const;
    /// Number of live log-ins of this user and NMS; for counters and tests.
    std::size_t LiveLogins(const std::string& hostInfo, const std::string& user) const;

    CorbaSecurityMgr(const CorbaSecurityMgr&) = delete;
    CorbaSecurityMgr& operator=(const CorbaSecurityMgr&) = delete;

  private:
    unsigned long Admit(const char* operation, const std::string& hostInfo, const std::string& user,
                        const std::string& password, Admission& admission);
    CorbaSecurityMgr();
    ~CorbaSecurityMgr();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace NS_CORBA
