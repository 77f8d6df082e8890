#include "texts.h"

#include <kelp/util/trace_log.h>
#include <openssl/err.h>

#include <algorithm>
#include <ctime>

#include "owned.h"

namespace kelp::orb {

namespace {

constexpr std::size_t kNameBytesMax = 300;

}  // namespace

std::string inWords(const ASN1_TIME* time) {
    std::tm parts{};
    if (ASN1_TIME_to_tm(time, &parts) != 1)
        return "an unreadable time";
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts)};
}

std::string inWords(const X509_NAME* name) {
    const OwnedBio out(BIO_new(BIO_s_mem()));
    X509_NAME_print_ex(out.get(), name, 0, XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB);
    char* text = nullptr;
    const long length = BIO_get_mem_data(out.get(), &text);
    return util::escaped(std::string(text, static_cast<std::size_t>(std::max(length, 0L))),
                         kNameBytesMax);
}

std::string shownFile(const std::string& name) {
    return util::escaped(name, kNameBytesMax);
}

std::string tlsErrorText() {
    const unsigned long error = ERR_get_error();
    ERR_clear_error();
    const char* const reason = ERR_reason_error_string(error);
    if (reason != nullptr)
        return reason;
    char text[256];
    ERR_error_string_n(error, text, sizeof text);
    return text;
}

}  // namespace kelp::orb
