#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

namespace kelp::test {

/// A disk of a few MiB that only this process and its children see: a file system in memory. A user
/// namespace grants an unprivileged process the right to mount it. Create it before any thread
/// starts. Tests that use it are built only where KELP_CAN_MOUNT is set.
class SmallDisk {
  public:
    explicit SmallDisk(const std::filesystem::path& folder, unsigned mib = 2) : folder_(folder) {
        const uid_t user = ::getuid();
        const gid_t group = ::getgid();
        if (::unshare(CLONE_NEWNS) != 0) {
            if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
                return;
            write("/proc/self/setgroups", "deny");
            write("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
            write("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
        }
        const std::string size = "size=" + std::to_string(mib) + "m";
        isMounted_ = ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                     ::mount("tmpfs", folder.c_str(), "tmpfs", 0, size.c_str()) == 0;
    }
    ~SmallDisk() {
        if (isMounted_)
            ::umount2(folder_.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool isMounted() const { return isMounted_; }

    /// Fill the disk to the last byte.
    void fill() const {
        const int file =
            ::open((folder_ / "filler").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        for (std::size_t size : {std::size_t{4096}, std::size_t{1}}) {
            const std::string block(size, 'f');
            while (::write(file, block.data(), block.size()) > 0)
                continue;
        }
        EXPECT_EQ(errno, ENOSPC);
        ::close(file);
    }
    void makeRoom() const { std::filesystem::remove(folder_ / "filler"); }

  private:
    static void write(const char* file, const std::string& text) { std::ofstream(file) << text; }

    const std::filesystem::path folder_;
    bool isMounted_ = false;
};

}  // namespace kelp::test
