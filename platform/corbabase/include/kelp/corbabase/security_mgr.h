#pragma once

#include <kelp/corbabase/user_database.h>
#include <kelp/orb/request.h>
#include <kelp/util/export.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace NS_CORBA {

/// Codes that refuse a log-in; the catalogue has a text for each and the client sees
/// EXCPT_ACCESS_DENIED.
inline constexpr unsigned long kWrongPassword = 0x048FFFA3;  ///< also for an unknown user
inline constexpr unsigned long kUserDisabled = 0x048FFFA4;
inline constexpr unsigned long kUserDatabaseUnusable = 0x048FFFA5;
inline constexpr unsigned long kUserLockedOut = 0x048FFFA6;  ///< also for an unknown user
inline constexpr unsigned long kUserExpired = 0x048FFFA7;
inline constexpr unsigned long kAddressNotAllowed =
    0x048FFFA8;  ///< this user may not log in from there
inline constexpr unsigned long kTooManyAccountSessions = 0x048FFFA9;
inline constexpr unsigned long kTooManyAddressSessions = 0x048FFFAA;
inline constexpr unsigned long kCertificateNotAllowed =
    0x048FFFAB;  ///< this user may not with this, or none
/// A user name or password longer than kLogInTextBytesMax; the client sees EXCPT_INVALID_INPUT.
inline constexpr unsigned long kOverlongLogIn = 0x41180057;

/// Bytes of a user name or a password that somebody logs in with. Longer than any account's, so
/// short that nobody can make the EMS copy or hash megabytes.
inline constexpr std::size_t kLogInTextBytesMax = 1024;

/// A log-in whose password was right, as CorbaSecurityMgr::Admit found it. Nobody is logged in by
/// it yet.
class KELP_EXPORT Admission {
    friend class CorbaSecurityMgr;
    std::string hostInfo_;
    std::string user_;
    UserAccount account_;
};

/// NMS users and who of them is logged in from where. Accounts live in an SQLite database with
/// Argon2id password hashes; live log-ins and failed ones in memory. Callable from any thread.
///
/// Where a log-in comes from is the peer of the connection of the request in hand, whatever
/// `hostInfo` says. After `[security] lockout_failures` wrong passwords a user is locked out at
/// that address and refused before any password is hashed. That an account is disabled, has expired
/// or may not be used from that address or with the certificate of that connection shows only with
/// the right password.
///
/// Between Init and ExitThread light event 119 (user state change) is raised, within a second, for
/// each live log-in whose user was disabled or removed, got another password, was bound to other
/// certificates or has expired, whichever process wrote that. It is raised again, with growing
/// pauses, until Logout ends the log-in.
class KELP_EXPORT CorbaSecurityMgr {
  public:
    static CorbaSecurityMgr* Instance();
    static void Destroy();

    /// Opens (creating it when missing) the user database and starts the manager's thread. False,
    /// traced with the reason, when that fails.
    bool Init();
    /// Ends the manager's threads. Logout goes on working.
    void ExitThread();

    /// Checks the password and whether the account may be used now, and enters nothing. `hostInfo`
    /// is the NMS's "address:port". 0, or a refusing code. The only operation of a log-in that
    /// hashes a password.
    unsigned long Admit(const std::string& hostInfo, const std::string& user,
                        const std::string& password, Admission& admission);
    /// Whether the account still allows what Admit found, for a log-in that had to wait meanwhile.
    /// 0, or a refusing code.
    unsigned long StillAdmits(const Admission& admission);
    /// Enters one live log-in.
    void Enter(const Admission& admission);
    /// The live log-in of this user goes on under the password that was given; nothing is entered.
    void Renew(const Admission& admission);

    /// Admit and Enter in one. 0, or a refusing code.
    unsigned long Login(const std::string& hostInfo, const std::string& user,
                        const std::string& password);
    /// Admit and Renew in one. 0, or a refusing code.
    unsigned long checkLogin(const std::string& hostInfo, const std::string& user,
                             const std::string& password);
    /// Whether one more log-in of this user and NMS keeps within [session] per_account_max and
    /// per_address_max, those of the same NMS and user not counted, whose place it takes. 0, or a
    /// refusing code. For a log-in whose password was right.
    unsigned long CheckRoom(const std::string& hostInfo, const std::string& user);
    /// Refuses texts longer than kLogInTextBytesMax before anything else sees them. 0, or a
    /// refusing code.
    unsigned long CheckLengths(std::string_view user, std::string_view password);

    /// Ends one live log-in; unknown ones are ignored.
    void Logout(const std::string& hostInfo, const std::string& user);
    /// The user's number out of the database, by a session name text (see TEUserHelper); -1 for an
    /// unknown one.
    int GetUserID(const std::string& sessionName) const;
    /// Whether somebody is logged in over a connection from this peer's address, whatever the
    /// ports, and the account still allows it. False for an empty address. Quick enough to be asked
    /// with every request.
    bool IsLoggedInFrom(const kelp::orb::PeerAddress& peer) const;
    /// How many log-ins of this user from this address are live; for counters and tests.
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
