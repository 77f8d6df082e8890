#include "chain/audit_key.h"

#include <fcntl.h>
#include <kelp/util/file_trust.h>
#include <kelp/util/private_file.h>
#include <kelp/util/secret.h>
#include <sodium.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>

#include "database/log_file.h"

namespace kelp::oplog {

namespace {

constexpr const char* kFirstLine = "kelp-audit-key 1";
constexpr const char* kNameText = "name of an audit key";
constexpr std::size_t kNameDigits = 16;
constexpr std::size_t kFileBytesMax = 4096;

void startLibrary() {
    if (::sodium_init() < 0)
        throw LogFailure("the crypto library cannot be used");
}

std::string hexOf(const unsigned char* bytes, std::size_t count) {
    std::string text(count * 2 + 1, '\0');
    ::sodium_bin2hex(text.data(), text.size(), bytes, count);
    text.pop_back();
    return text;
}

void append(util::Secret& secret, std::string_view text) {
    for (const char each : text)
        secret.append(each);
}

std::string errnoText() {
    return std::generic_category().message(errno);
}

bool isWritten(const util::Descriptor& out, const std::string& text) {
    return ::write(out.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()) &&
           ::fsync(out.get()) == 0;
}

}  // namespace

std::shared_ptr<const AuditKey> AuditKey::read(const std::filesystem::path& file) {
    if (std::error_code error;
        !std::filesystem::exists(std::filesystem::symlink_status(file, error)))
        return nullptr;
    startLibrary();
    std::string problem;
    std::optional<std::string> read =
        util::readTrustedFile(file, util::FileUse::Secret, problem, kFileBytesMax);
    if (!read)
        throw LogFailure("audit key " + file.string() + " " + problem);
    const util::Secret text(*read);
    const std::shared_ptr<AuditKey> key(new AuditKey);
    const std::string_view rest = text.text();
    const std::string begin = std::string(kFirstLine) + "\n";
    const std::size_t digits = kBytes * 2;
    std::size_t decoded = 0;
    if (!rest.starts_with(begin) || rest.size() < begin.size() + digits + 1 ||
        rest[begin.size() + digits] != '\n' ||
        ::sodium_hex2bin(key->bytes_.data(), kBytes, rest.data() + begin.size(), digits, nullptr,
                         &decoded, nullptr) != 0 ||
        decoded != kBytes)
        throw LogFailure("audit key " + file.string() + " holds no key");
    std::string place(rest.substr(begin.size() + digits + 1));
    while (!place.empty() && place.back() == '\n')
        place.pop_back();
    if (!place.empty()) {
        const std::optional<ChainHead> begun = ChainHead::of(place);
        if (!begun)
            throw LogFailure("audit key " + file.string() + " holds no key");
        key->begun_ = *begun;
    }
    unsigned char name[crypto_auth_hmacsha256_BYTES];
    ::crypto_auth_hmacsha256(name, reinterpret_cast<const unsigned char*>(kNameText),
                             std::char_traits<char>::length(kNameText), key->bytes());
    key->id_ = hexOf(name, sizeof name).substr(0, kNameDigits);
    return key;
}

void AuditKey::make(const std::filesystem::path& file, const ChainHead& begun) {
    startLibrary();
    unsigned char bytes[kBytes];
    char digits[kBytes * 2 + 1];
    ::randombytes_buf(bytes, sizeof bytes);
    ::sodium_bin2hex(digits, sizeof digits, bytes, sizeof bytes);
    util::Secret text(kFirstLine);
    for (const std::string_view each :
         {std::string_view("\n"), std::string_view(digits), std::string_view("\n")})
        append(text, each);
    ::sodium_memzero(bytes, sizeof bytes);
    ::sodium_memzero(digits, sizeof digits);
    if (begun.id > 0)
        append(text, begun.text() + "\n");
    // written under another name first, so that no process ever reads half a key
    const std::filesystem::path part = file.string() + ".new-" + std::to_string(::getpid());
    ::unlink(part.c_str());
    std::string problem;
    const util::Descriptor out = util::openPrivateFile(part, O_EXCL, problem);
    if (!out.isOpen())
        throw LogFailure("audit key " + part.string() + " " + problem);
    const bool isMade =
        isWritten(out, text.text()) && (::link(part.c_str(), file.c_str()) == 0 || errno == EEXIST);
    const std::string reason = isMade ? "" : errnoText();
    ::unlink(part.c_str());
    if (!isMade)
        throw LogFailure("audit key " + file.string() + " cannot be written: " + reason);
}

AuditKey::~AuditKey() {
    ::sodium_memzero(bytes_.data(), bytes_.size());
}

}  // namespace kelp::oplog
