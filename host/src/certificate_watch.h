#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace kelp::host {

/// When the first certificate in a PEM file ends; none when there is no such file or no certificate in it.
std::optional<std::chrono::system_clock::time_point> certificateEnd(const std::filesystem::path& file);

/// What an operator should read of a certificate that ends then: empty for one that has more than 30 days.
std::string certificateWarning(const std::filesystem::path& file,
                               std::optional<std::chrono::system_clock::time_point> end,
                               std::chrono::system_clock::time_point now);

/// Traces once a day, from its making on, that this process's certificate ends soon.
class CertificateWatch {
  public:
    explicit CertificateWatch(std::filesystem::path file);
    ~CertificateWatch();
    CertificateWatch(const CertificateWatch&) = delete;
    CertificateWatch& operator=(const CertificateWatch&) = delete;

  private:
    void run();

    const std::filesystem::path file_;
    std::mutex mutex_;
    std::condition_variable ending_;
    bool isEnding_ = false;  // guarded by mutex_
    std::thread thread_;
};

}  // namespace kelp::host
