#include "certificate_watch.h"

#include <kelp/util/trace_log.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <ctime>
#include <memory>
#include <utility>
#include <vector>

namespace kelp::host {

namespace {

using std::chrono::system_clock;

constexpr std::chrono::hours kDay{24};
constexpr int kDaysBefore = 30;
/// Revocation lists are issued often, many of them daily.
constexpr int kDaysBeforeNextList = 3;

std::string utcText(system_clock::time_point time) {
    const std::time_t seconds = system_clock::to_time_t(time);
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    char text[32];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
    return {text, length};
}

}  // namespace

std::optional<system_clock::time_point> certificateEnd(const std::filesystem::path& file) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> in(BIO_new_file(file.c_str(), "r"), &BIO_free);
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(
        in ? PEM_read_bio_X509(in.get(), nullptr, nullptr, nullptr) : nullptr, &X509_free);
    std::tm parts{};
    const bool isKnown =
        certificate && ASN1_TIME_to_tm(X509_get0_notAfter(certificate.get()), &parts) == 1;
    // clear the library's error queue, so that a later caller does not see this error
    ERR_clear_error();
    if (!isKnown)
        return std::nullopt;
    return system_clock::from_time_t(::timegm(&parts));
}

std::string certificateWarning(const std::filesystem::path& file,
                               std::optional<system_clock::time_point> end,
                               system_clock::time_point now) {
    if (!end)
        return "tls.certificate: no certificate can be read from " + file.string();
    if (*end <= now)
        return "the certificate in " + file.string() + " has ended at " + utcText(*end) +
               ": clients refuse this EMS";
    const auto days = std::chrono::duration_cast<std::chrono::hours>(*end - now) / kDay;
    if (days >= kDaysBefore)
        return "";
    return "the certificate in " + file.string() + " ends at " + utcText(*end) + ", in " +
           std::to_string(days) + (days == 1 ? " day" : " days");
}

std::string revocationListWarning(const std::filesystem::path& file,
                                  const orb::RevocationListEnd& list,
                                  system_clock::time_point now) {
    if (!list.end || *list.end - now > kDaysBeforeNextList * kDay)
        return "";
    const std::string which = "the revocation list of " + list.authority + " in " + file.string();
    if (*list.end > now)
        return which + " ends at " + utcText(*list.end) + ": get its successor, then send SIGHUP";
    return which + " has ended at " + utcText(*list.end) +
           ": it is still used, but certificates that were revoked since are accepted";
}

CertificateWatch::CertificateWatch(std::filesystem::path certificate,
                                   std::filesystem::path revocationLists)
    : certificate_(std::move(certificate)),
      revocationLists_(std::move(revocationLists)),
      thread_([this] { run(); }) {}

CertificateWatch::~CertificateWatch() {
    ending_.raise();
    thread_.join();
}

void CertificateWatch::run() {
    do {
        warn();
    } while (ending_.pause(kDay));
}

void CertificateWatch::warn() const {
    const system_clock::time_point now = system_clock::now();
    std::vector<std::string> warnings = {
        certificateWarning(certificate_, certificateEnd(certificate_), now)};
    if (!revocationLists_.empty()) {
        for (const orb::RevocationListEnd& list : orb::revocationListEnds(revocationLists_))
            warnings.push_back(revocationListWarning(revocationLists_, list, now));
    }
    for (const std::string& warning : warnings) {
        if (!warning.empty())
            kelp::util::traceFrom("kelpd", warning, kelp::util::TraceKind::Exception);
    }
}

}  // namespace kelp::host
