#pragma once

#include <kelp/orb/export.h>

#include <string>
#include <vector>

namespace kelp::orb {

/// What a process that speaks TLS shows and trusts. Plain values.
struct KELP_EXPORT TlsFiles {
    std::string caFile;       ///< PEM, the trusted authorities' certificates
    std::string keyFile;      ///< PEM, private key and certificate; the certificates between it and the
                              ///< authority may follow
    std::string keyPassword;  ///< may be empty for an unencrypted key
};

/// One reason why TLS would not work.
struct KELP_EXPORT TlsFileProblem {
    enum class Of { Authorities, Certificate, Password };
    Of of = Of::Authorities;
    std::string what;  ///< one clause that names the file
};

/// What would keep these files from being used now: a file that cannot be read or has nothing in it that is
/// needed, a key that is another certificate's or does not open, a certificate that has ended or not yet
/// begun. Empty when TLS can start. Reads the files; any thread.
KELP_EXPORT std::vector<TlsFileProblem> problemsOf(const TlsFiles& files);

/// Takes over what the files hold now, in a process that runs an ORB with TLS: handshakes from here on, of
/// either side, show and trust it; connections that stand go on as they are. What is new is traced. False,
/// with the reason, changes nothing. True without effect where there is no TLS. Any thread.
KELP_EXPORT bool renewTls(const TlsFiles& files, std::string& whyNot);

}  // namespace kelp::orb
