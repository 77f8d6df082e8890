#include "admin/network/server_certificate.h"

#include <kelp/util/file_trust.h>
#include <kelp/util/trace_log.h>
#include <openssl/err.h>

#include <array>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace kelp::host {

namespace {

std::string opensslReason() {
    std::array<char, 256> text{};
    const unsigned long code = ::ERR_get_error();
    ::ERR_error_string_n(code, text.data(), text.size());
    ::ERR_clear_error();
    return code == 0 ? "" : std::string(": ") + text.data();
}

/// The key must not have a password: nobody could type it.
int noPassword(char*, int, int, void*) {
    return -1;
}

std::filesystem::file_time_type writtenAt(const std::filesystem::path& file) {
    std::error_code error;
    return std::filesystem::last_write_time(file, error);
}

}  // namespace

ServerCertificate::ServerCertificate(std::filesystem::path file)
    : file_(std::move(file)), written_(writtenAt(file_)), context_(read()) {}

ServerCertificate::Context ServerCertificate::read() const {
    const auto fail = [this](const std::string& why) {
        throw std::runtime_error("the certificate " + file_.string() + " " + why);
    };
    if (const std::string problem = util::problemOfTrust(file_, util::FileUse::Secret);
        !problem.empty())
        fail(problem);
    Context context(::SSL_CTX_new(::TLS_server_method()), &::SSL_CTX_free);
    if (!context)
        throw std::bad_alloc();
    ::SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    ::SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION |
                                             SSL_OP_CIPHER_SERVER_PREFERENCE);
    ::SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    ::SSL_CTX_set_default_passwd_cb(context.get(), noPassword);
    ::ERR_clear_error();
    if (::SSL_CTX_use_certificate_chain_file(context.get(), file_.c_str()) != 1)
        fail("cannot be used" + opensslReason());
    if (::SSL_CTX_use_PrivateKey_file(context.get(), file_.c_str(), SSL_FILETYPE_PEM) != 1 ||
        ::SSL_CTX_check_private_key(context.get()) != 1)
        fail("has no private key that fits, or one with a password" + opensslReason());
    return context;
}

ServerCertificate::Context ServerCertificate::current() {
    const util::MutexLock lock(mutex_);
    const auto written = writtenAt(file_);
    if (written != written_) {
        written_ = written;
        try {
            context_ = read();
        } catch (const std::exception& failure) {
            util::traceFrom(
                "admin", std::string("the status page keeps its certificate: ") + failure.what());
        }
    }
    return context_;
}

}  // namespace kelp::host
