#pragma once

#include <kelp/orb/export.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kelp::orb {

/// What a process that speaks TLS shows and trusts. Plain values.
struct KELP_EXPORT TlsFiles {
    std::string caFile;   ///< PEM, the trusted authorities' certificates
    std::string keyFile;  ///< PEM, private key and certificate; the certificates between it and the
                          ///< authority may follow. Its mode keeps others from reading it
    std::string keyPassword;  ///< may be empty for an unencrypted key
    /// PEM, a revocation list (RFC 5280) of each of the authorities; empty: revocation is not
    /// checked.
    std::string crlFile = {};
};

/// One reason why TLS would not work.
struct KELP_EXPORT TlsFileProblem {
    enum class Of { Authorities, Certificate, Password, RevocationLists };
    Of of = Of::Authorities;
    std::string what;  ///< one clause that names the file
};

/// What would keep these files from being used now: a file that cannot be read or has nothing in it
/// that is needed, a key that is another certificate's, does not open or can be read by others, a
/// certificate or revocation list that has ended or not yet begun, an authority without a
/// revocation list where there is a file of them. Empty when TLS can start. Reads the files; any
/// thread.
KELP_EXPORT std::vector<TlsFileProblem> problemsOf(const TlsFiles& files);

/// Takes over what the files hold now, in a process that runs an ORB with TLS: handshakes from here
/// on, of either side, show and trust it; connections that stand go on as they are. What is new is
/// traced. False, with the reason, changes nothing. True without effect where there is no TLS. Any
/// thread.
KELP_EXPORT bool renewTls(const TlsFiles& files, std::string& whyNot);

/// An authority's revocation list.
struct KELP_EXPORT RevocationListEnd {
    std::string authority;  ///< its subject, for messages
    /// When its successor is due; none: the list says nothing of one.
    std::optional<std::chrono::system_clock::time_point> end;
};

/// The lists in a file, in its order; none when it cannot be read. Any thread.
KELP_EXPORT std::vector<RevocationListEnd> revocationListEnds(const std::string& crlFile);

/// Why this process, as the calling side, has refused a server's certificate last: one clause that
/// names the server and what it shows. Empty when it has refused none since the last call of this
/// function. Any thread.
KELP_EXPORT std::string takeRefusedServer();

}  // namespace kelp::orb
