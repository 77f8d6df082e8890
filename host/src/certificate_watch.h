#pragma once

#include <kelp/orb/tls_files.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

#include "end_signal.h"

namespace kelp::host {

/// Return when the first certificate in a PEM file expires. None when the file does not exist or
/// contains no certificate.
std::optional<std::chrono::system_clock::time_point> certificateEnd(
    const std::filesystem::path& file);

/// Return a warning about a certificate that expires at `end`. Empty if it remains valid for at
/// least 30 days after `now`.
std::string certificateWarning(const std::filesystem::path& file,
                               std::optional<std::chrono::system_clock::time_point> end,
                               std::chrono::system_clock::time_point now);

/// Return a warning about a revocation list. Empty if the next list is not due within 3 days after
/// `now`.
std::string revocationListWarning(const std::filesystem::path& file,
                                  const orb::RevocationListEnd& list,
                                  std::chrono::system_clock::time_point now);

/// Checks at construction, and then once a day, whether this process's certificate or one of its
/// revocation lists is about to expire. Traces a warning if so.
class CertificateWatch {
  public:
    /// `revocationLists` may be empty.
    CertificateWatch(std::filesystem::path certificate, std::filesystem::path revocationLists);
    ~CertificateWatch();
    CertificateWatch(const CertificateWatch&) = delete;
    CertificateWatch& operator=(const CertificateWatch&) = delete;

  private:
    void run();
    void warn() const;

    const std::filesystem::path certificate_;
    const std::filesystem::path revocationLists_;
    EndSignal ending_;
    std::thread thread_;
};

}  // namespace kelp::host
