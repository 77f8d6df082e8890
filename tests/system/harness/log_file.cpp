#include "harness/log_file.h"

#include <fstream>

namespace kelp::test {

const std::string& LogFile::text() {
    std::ifstream in(file_, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(text_.size()));
    text_.append(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return text_;
}

std::size_t LogFile::count(const std::string& wanted) {
    const std::string& all = text();
    std::size_t found = 0;
    for (std::size_t at = all.find(wanted); at != std::string::npos;
         at = all.find(wanted, at + wanted.size()))
        ++found;
    return found;
}

bool LogFile::waitFor(const std::string& wanted, std::size_t times,
                      std::chrono::milliseconds deadline) {
    return eventually([&] { return count(wanted) >= times; }, deadline);
}

bool LogFile::containsInOrder(const std::vector<std::string>& texts) {
    const std::string& all = text();
    std::size_t from = 0;
    for (const std::string& wanted : texts) {
        const std::size_t at = all.find(wanted, from);
        if (at == std::string::npos)
            return false;
        from = at + wanted.size();
    }
    return true;
}

std::string LogFile::tail(std::size_t lines) {
    const std::string& all = text();
    std::size_t begin = all.size();
    for (std::size_t line = 0; line <= lines && begin != 0; ++line) {
        const std::size_t newline = all.rfind('\n', begin - 1);
        if (newline == std::string::npos)
            return all;
        begin = newline;
    }
    return all.substr(begin);
}

}  // namespace kelp::test
