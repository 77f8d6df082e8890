#pragma once

#include <kelp/orb/export.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kelp::orb {

/// The files with the certificates that a process presents and trusts in TLS. Plain values.
struct KELP_EXPORT TlsFiles {
    std::string caFile;  ///< PEM, the trusted authorities' certificates
    /// PEM, the private key and its certificate. Intermediate CA certificates may follow. The
    /// file's mode must keep others from reading it.
    std::string keyFile;
    std::string keyPassword;  ///< may be empty for an unencrypted key
    /// PEM, a revocation list (RFC 5280) of each authority. Empty: revocation is not checked.
    std::string crlFile = {};
};

/// A reason why TLS would not work.
struct KELP_EXPORT TlsFileProblem {
    enum class Of { Authorities, Certificate, Password, RevocationLists };
    Of of = Of::Authorities;
    std::string what;  ///< one clause that names the file
};

/// Return the problems that would prevent these files from being used now. Empty when TLS can
/// start. The problems are: a file that cannot be read or lacks something required; a key that does
/// not match the certificate, cannot be decrypted or can be read by others; a certificate or
/// revocation list that has expired or is not yet valid; and, if `crlFile` is set, an authority
/// without a revocation list. Reads the files. Callable from any thread.
KELP_EXPORT std::vector<TlsFileProblem> problemsOf(const TlsFiles& files);

/// Make a process that runs an ORB with TLS use the current content of the files. From now on
/// handshakes, as client and as server, present and trust the new certificates. Existing
/// connections continue unchanged. A change is traced. Return false with the reason, and change
/// nothing, when the files cannot be used. Return true without effect when there is no TLS.
/// Callable from any thread.
KELP_EXPORT bool renewTls(const TlsFiles& files, std::string& whyNot);

/// When an authority's revocation list expires.
struct KELP_EXPORT RevocationListEnd {
    std::string authority;  ///< its subject, for messages
    /// When the next list is due; empty when the list does not say.
    std::optional<std::chrono::system_clock::time_point> end;
};

/// Return the revocation lists in a file, in its order; none when the file cannot be read. Callable
/// from any thread.
KELP_EXPORT std::vector<RevocationListEnd> revocationListEnds(const std::string& crlFile);

/// Return why this process, as the calling side, last refused a server's certificate: one clause
/// that names the server, the subject of the certificate and the reason. Empty when it has refused
/// none since the last call of this function. Callable from any thread.
KELP_EXPORT std::string takeRefusedServer();

}  // namespace kelp::orb
