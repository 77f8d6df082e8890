#include "exported_heads.h"

#include <fcntl.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/trace_log.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace kelp::ctl {

namespace {

/// Maximum characters of a wrong line to show. No head is longer.
constexpr std::size_t kShownMax = 100;

[[noreturn]] void noHead(const std::string& text) {
    throw std::runtime_error("--head: \"" + util::escaped(text, kShownMax) +
                             "\" is not of the form NUMBER:HASH");
}

}  // namespace

void addHeads(const std::string& headOrFile, std::vector<oplog::ChainHead>& heads) {
    if (const std::optional<oplog::ChainHead> head = oplog::ChainHead::of(headOrFile)) {
        heads.push_back(*head);
        return;
    }
    std::ifstream in(headOrFile);
    if (!in)
        noHead(headOrFile);
    const std::size_t before = heads.size();
    for (std::string line; std::getline(in, line);) {
        const std::optional<oplog::ChainHead> head = oplog::ChainHead::of(line);
        if (!head)
            noHead(line);
        heads.push_back(*head);
    }
    // a file without heads would prove nothing
    if (heads.size() == before)
        throw std::runtime_error("--head: " + headOrFile + " holds no head");
}

void exportHead(const oplog::ChainHead& head, const std::string& file) {
    const std::string line = head.text() + "\n";
    const util::Descriptor out(::open(
        file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!out.isOpen() ||
        ::write(out.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size()) ||
        ::fsync(out.get()) != 0)
        throw std::runtime_error("the head cannot be written to " + file + ": " +
                                 std::generic_category().message(errno));
}

}  // namespace kelp::ctl
