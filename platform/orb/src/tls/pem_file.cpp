#include "pem_file.h"

#include <fcntl.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/file_trust.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "texts.h"

namespace kelp::orb {

namespace {

/// Maximum size of a file. Only lists of authorities and of revoked certificates are long.
constexpr std::size_t kFileBytesMax = 16 << 20;

}  // namespace

PemFile::PemFile(std::string name, TlsFileProblem::Of of, std::vector<TlsFileProblem>& problems)
    : name_(std::move(name)), of_(of), problems_(problems) {
    read();
}

void PemFile::read() {
    // a pipe without a writer must count as an empty file, and not block
    const util::Descriptor file(::open(name_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (file.isOpen() && ::fstat(file.get(), &status) == 0)
        mode_ = status.st_mode & 07777;
    std::string text;
    ssize_t got = file.isOpen() ? 1 : -1;
    for (char block[8192]; got > 0 && text.size() <= kFileBytesMax;) {
        got = ::read(file.get(), block, sizeof block);
        if (got > 0)
            text.append(block, static_cast<std::size_t>(got));
    }
    if (got < 0)
        wrong("cannot be read: " + std::generic_category().message(errno));
    else if (text.size() > kFileBytesMax)
        wrong("is too long for a file of certificates");
    else
        text_ = std::move(text);
}

void PemFile::checkTrust() {
    const std::string problem =
        util::problemOfTrust(name_, util::FileUse::Trusted, util::FinalLink::IsFollowed);
    if (!problem.empty())
        wrong(problem);
}

OwnedBio PemFile::open() const {
    return OwnedBio(BIO_new_mem_buf(text_->data(), static_cast<int>(text_->size())));
}

void PemFile::wrong(TlsFileProblem::Of of, const std::string& what) {
    problems_.push_back({of, shownFile(name_) + " " + what});
}

bool isEndOfPem() {
    return ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
}

}  // namespace kelp::orb
