#include "access_token.h"

#include <fcntl.h>
#include <kelp/util/private_file.h>
#include <sodium.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace kelp::host {

namespace {

constexpr std::size_t kRandomBytes = 32;

std::string randomText() {
    if (::sodium_init() < 0)
        throw std::runtime_error("the crypto library cannot be used");
    std::array<unsigned char, kRandomBytes> bytes{};
    ::randombytes_buf(bytes.data(), bytes.size());
    std::string text(bytes.size() * 2 + 1, '\0');
    ::sodium_bin2hex(text.data(), text.size(), bytes.data(), bytes.size());
    text.pop_back();
    return text;
}

}  // namespace

AccessToken::AccessToken(const std::filesystem::path& file) : file_(file) {
    const std::string token = randomText();
    expected_ = "Bearer " + token;
    const std::string line = token + "\n";
    // make a new file: an existing one might be readable by others, or be a link to another file
    ::unlink(file.c_str());
    std::string problem;
    const util::Descriptor out = util::openPrivateFile(file, O_EXCL, problem);
    if (!out.isOpen())
        throw std::runtime_error("cannot write " + file.string() + ": it " + problem);
    if (::write(out.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        throw std::runtime_error("cannot write " + file.string() + ": " +
                                 std::generic_category().message(errno));
}

AccessToken::~AccessToken() {
    ::unlink(file_.c_str());
}

bool AccessToken::isIn(const std::string& authorization) const {
    return authorization.size() == expected_.size() &&
           ::sodium_memcmp(authorization.data(), expected_.data(), expected_.size()) == 0;
}

}  // namespace kelp::host
