#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

namespace kelp::test {

/// What `body` answers in a child process. The calling process must have one thread only.
inline bool inChild(const std::function<bool()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        bool isGood = false;
        try {
            isGood = body();
        } catch (...) {
        }
        ::_exit(isGood ? 0 : 1);
    }
    int status = -1;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

/// The same under a umask.
inline bool inChildWithUmask(mode_t mask, const std::function<bool()>& body) {
    return inChild([&] {
        ::umask(mask);
        return body();
    });
}

/// Permission bits of a file or folder, of a link's own; 07777 when there is none.
inline mode_t modeOf(const char* file) {
    struct stat status {};
    return ::lstat(file, &status) == 0 ? status.st_mode & 07777u : 07777u;
}

/// The umasks that would open a file to everybody and close it to its owner.
inline constexpr mode_t kExtremeUmasks[] = {0, 0777};

/// As part of a test's name.
inline std::string nameOfUmask(const testing::TestParamInfo<mode_t>& info) {
    return info.param == 0 ? "Open" : "Closed";
}

}  // namespace kelp::test
