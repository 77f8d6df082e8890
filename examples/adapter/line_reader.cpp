#include "line_reader.h"

#include <kelp/util/utf8.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace kelp::example {

std::optional<Line> LineReader::next() {
    Line line;
    while (readLine(line)) {
        if (line.text.ends_with('\r'))
            line.text.pop_back();
        if (!line.problem.empty() || line.text.find_first_not_of(" \t") != std::string::npos) {
            if (line.problem.empty() && !util::isUtf8(line.text))
                line.problem = "the line is not UTF-8";
            return line;
        }
        line = {};
    }
    return std::nullopt;
}

bool LineReader::readLine(Line& line) {
    line.number = ++number_;
    for (;;) {
        const std::size_t end = unread_.find('\n');
        const bool isTooLong = line.text.size() + std::min(end, unread_.size()) > kLineBytesMax;
        if (isTooLong)
            line.problem = "the line has more than " + std::to_string(kLineBytesMax) + " octets";
        if (!isTooLong)
            line.text.append(unread_, 0, end);
        if (end != std::string::npos) {
            unread_.erase(0, end + 1);
            return true;
        }
        unread_.clear();
        if (!fill())
            break;
    }
    if (line.problem.empty() && !line.text.empty())
        line.problem = "the line has no end: its writer has not finished it";
    return !line.problem.empty();
}

bool LineReader::fill() {
    if (isAtEnd_)
        return false;
    std::array<char, 16 << 10> buffer;
    ssize_t length = -1;
    do {
        length = ::read(file_.get(), buffer.data(), buffer.size());
    } while (length < 0 && errno == EINTR);
    if (length < 0)
        throw std::system_error(errno, std::generic_category());
    isAtEnd_ = length == 0;
    unread_.assign(buffer.data(), static_cast<std::size_t>(length));
    return !isAtEnd_;
}

}  // namespace kelp::example
