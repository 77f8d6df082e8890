#include "talker.h"

#include <unistd.h>

#include <stdexcept>

namespace kelp::bench {

namespace {

test::Launch launchOf(const std::string& program, const std::vector<std::string>& arguments) {
    test::Launch launch;
    launch.program = program;
    launch.arguments = arguments;
    launch.output = "/dev/stderr";
    launch.piped = true;
    return launch;
}

}  // namespace

Talker::Talker(const std::string& program, const std::vector<std::string>& arguments)
    : program_(program), process_(launchOf(program, arguments)) {}

void Talker::say(const std::string& line) {
    const std::string text = line + "\n";
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = ::write(process_.input(), text.data() + done, text.size() - done);
        if (count <= 0)
            throw std::runtime_error(program_ + " does not listen");
        done += static_cast<std::size_t>(count);
    }
}

std::string Talker::hear() {
    for (;;) {
        const std::size_t end = heard_.find('\n');
        if (end != std::string::npos) {
            const std::string line = heard_.substr(0, end);
            heard_.erase(0, end + 1);
            return line;
        }
        char part[4096];
        const ssize_t count = ::read(process_.output(), part, sizeof part);
        if (count <= 0)
            throw std::runtime_error(program_ + " has ended");
        heard_.append(part, static_cast<std::size_t>(count));
    }
}

}  // namespace kelp::bench
