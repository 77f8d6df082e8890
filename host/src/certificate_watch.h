#pragma once

#include <kelp/orb/tls_files.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace kelp::host {

/// When the first certificate in a PEM file ends; none when there is no such file or no certificate
/// in it.
std::optional<std::chrono::system_clock::time_point> certificateEnd(
    const std::filesystem::path& file);

/// What an operator should read of a certificate that ends then: empty for one that has more than
/// 30 days.
std::string certificateWarning(const std::filesystem::path& file,
                               std::optional<std::chrono::system_clock::time_point> end,
                               std::chrono::system_clock::time_point now);

/// What an operator should read of a revocation list: empty for one whose successor is not due
/// within 3 days. `now` as above.
std::string revocationListWarning(const std::filesystem::path& file,
                                  const orb::RevocationListEnd& list,
                                  std::chrono::system_clock::time_point now);

/// Traces once a day, from its making on, that this process's certificate ends soon, and the same
/// of its revocation lists.
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
    std::mutex mutex_;
    std::condition_variable ending_;
    bool isEnding_ = false;  // guarded by mutex_
    std::thread thread_;
};

}  // namespace kelp::host
