#include <fcntl.h>
#include <grp.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/file_trust.h>
#include <kelp/util/secret.h>
#include <pwd.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <vector>

#include "error_text.h"

namespace kelp::util {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kEntryBytes = 16384;
constexpr uid_t kRoot = 0;
constexpr const char* kIsLink = "is a symbolic link, which is not followed";

std::string modeText(const struct stat& status) {
    char text[32];
    std::snprintf(text, sizeof text, " (mode %04o)",
                  static_cast<unsigned>(status.st_mode) & 07777u);
    return text;
}

/// Return whether the group is the owner's private group: it has the owner's name and no other
/// members. User accounts usually get such a group.
bool isPrivateGroup(gid_t group, uid_t owner) {
    std::vector<char> userTexts(kEntryBytes);
    std::vector<char> groupTexts(kEntryBytes);
    passwd user{};
    passwd* foundUser = nullptr;
    ::group entry{};
    ::group* foundGroup = nullptr;
    if (::getpwuid_r(owner, &user, userTexts.data(), userTexts.size(), &foundUser) != 0 ||
        foundUser == nullptr || user.pw_gid != group ||
        ::getgrgid_r(group, &entry, groupTexts.data(), groupTexts.size(), &foundGroup) != 0 ||
        foundGroup == nullptr)
        return false;
    const std::string name = user.pw_name;
    for (char** member = entry.gr_mem; *member != nullptr; ++member) {
        if (name != *member)
            return false;
    }
    return name == entry.gr_name;
}

std::string problemOfMode(const struct stat& status, FileUse use) {
    if ((status.st_mode & S_IWOTH) != 0)
        return "can be written by others" + modeText(status);
    if ((status.st_mode & S_IWGRP) != 0 && status.st_gid != kRoot &&
        !isPrivateGroup(status.st_gid, status.st_uid))
        return "can be written by its group" + modeText(status);
    if (use == FileUse::Secret && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        return "can be read by others" + modeText(status);
    return "";
}

std::string problemOfOwner(uid_t owner, uid_t alsoTrusted) {
    const uid_t self = ::geteuid();
    if (owner == kRoot || owner == self || (self == kRoot && owner == alsoTrusted))
        return "";
    return "belongs to user " + std::to_string(owner) +
           ", who is neither root nor the user of this process";
}

const std::string& either(const std::string& first, const std::string& second) {
    return first.empty() ? second : first;
}

std::string problemOfFolder(const struct stat& status) {
    return either(problemOfOwner(status.st_uid, status.st_uid),
                  (status.st_mode & S_ISVTX) != 0 ? "" : problemOfMode(status, FileUse::Trusted));
}

fs::path realFolderOf(const fs::path& file) {
    std::error_code error;
    const fs::path absolute = fs::absolute(file, error);
    const fs::path parent =
        (absolute.has_filename() ? absolute : absolute.parent_path()).parent_path();
    const fs::path real = fs::weakly_canonical(parent, error);
    return error ? parent : real;
}

/// Check the folders above a file, the nearest one first. Missing ones are skipped.
std::string problemOfFolders(const fs::path& folder) {
    bool isNearest = true;
    for (fs::path each = folder;; each = each.parent_path()) {
        struct stat status {};
        if (::stat(each.c_str(), &status) == 0) {
            const bool isOpenToAll =
                (status.st_mode & S_IWOTH) != 0 && (status.st_mode & S_ISVTX) == 0;
            if (isNearest) {
                if (const std::string problem = problemOfFolder(status); !problem.empty())
                    return "lies in " + each.string() + ", which " + problem;
            } else if (isOpenToAll) {
                return "lies below " + each.string() + ", which can be written by others" +
                       modeText(status);
            }
            isNearest = false;
        }
        if (each == each.parent_path())
            return "";
    }
}

uid_t ownerOf(const fs::path& folder) {
    struct stat status {};
    return ::stat(folder.c_str(), &status) == 0 ? status.st_uid : kRoot;
}

std::string problemOf(const struct stat& status, const fs::path& folder, FileUse use) {
    if (S_ISCHR(status.st_mode))
        return "";
    if (S_ISDIR(status.st_mode))
        return either(problemOfFolder(status), problemOfFolders(folder));
    return either(
        either(problemOfOwner(status.st_uid, ownerOf(folder)), problemOfMode(status, use)),
        problemOfFolders(folder));
}

}  // namespace

std::string problemOfTrust(const fs::path& file, FileUse use, FinalLink link) {
    struct stat status {};
    if (::lstat(file.c_str(), &status) != 0)
        return errno == ENOENT || errno == ENOTDIR ? problemOfFolders(realFolderOf(file))
                                                   : "cannot be examined: " + errorText(errno);
    if (!S_ISLNK(status.st_mode))
        return problemOf(status, realFolderOf(file), use);
    if (link == FinalLink::IsRefused)
        return kIsLink;
    // whoever can exchange the link decides which file is read
    std::string problem = either(problemOfOwner(status.st_uid, ownerOf(realFolderOf(file))),
                                 problemOfFolders(realFolderOf(file)));
    std::error_code error;
    const fs::path target = fs::canonical(file, error);
    if (!problem.empty() || error)
        return problem;
    const std::string ofTarget = problemOfTrust(target, use, FinalLink::IsRefused);
    return ofTarget.empty() ? "" : "leads to " + target.string() + ", which " + ofTarget;
}

std::optional<std::string> readTrustedFile(const fs::path& file, FileUse use, std::string& problem,
                                           std::size_t bytesMax) {
    // non-blocking: a pipe without a writer reads as an empty file instead of blocking
    const Descriptor opened(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!opened.isOpen() || ::fstat(opened.get(), &status) != 0) {
        problem = errno == ELOOP ? kIsLink : "cannot be read: " + errorText(errno);
        return std::nullopt;
    }
    problem = problemOf(status, realFolderOf(file), use);
    if (!problem.empty())
        return std::nullopt;
    std::string text;
    // reserved at once, because growing would leave copies of a secret behind
    text.reserve(static_cast<std::size_t>(status.st_size) + 1);
    char block[4096];
    ssize_t got = 0;
    while (text.size() <= bytesMax && (got = ::read(opened.get(), block, sizeof block)) != 0) {
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            break;
        text.append(block, static_cast<std::size_t>(got));
    }
    const int error = errno;
    ::explicit_bzero(block, sizeof block);
    if (got < 0)
        problem = "cannot be read: " + errorText(error);
    else if (text.size() > bytesMax)
        problem = "is longer than " + std::to_string(bytesMax) + " bytes";
    else
        return text;
    wipe(text);
    return std::nullopt;
}

fs::path inRealFolder(const fs::path& file) {
    return realFolderOf(file) / file.filename();
}

}  // namespace kelp::util
