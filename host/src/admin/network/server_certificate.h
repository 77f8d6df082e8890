#pragma once

#include <kelp/util/mutex.h>
#include <openssl/ssl.h>

#include <filesystem>
#include <memory>

namespace kelp::host {

/// The TLS settings of the page's listener: a certificate with its private key in one PEM file, TLS
/// 1.2 or later. A changed file is read again; while it cannot be used, the previous one stays in
/// use and the reason is traced once. Any thread may call it.
class ServerCertificate {
  public:
    using Context = std::shared_ptr<SSL_CTX>;

    /// Throws std::runtime_error with a one-sentence text.
    explicit ServerCertificate(std::filesystem::path file);

    /// The settings for a new connection.
    Context current() KELP_EXCLUDES(mutex_);

  private:
    Context read() const;

    const std::filesystem::path file_;
    util::Mutex mutex_{util::LockRank::Leaf, "ServerCertificate::mutex_"};
    std::filesystem::file_time_type written_ KELP_GUARDED_BY(mutex_);
    Context context_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::host
