#include <fcntl.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/private_file.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace kelp::util {

std::string makePrivateFile(const std::filesystem::path& file) {
    std::error_code error;
    if (file.has_parent_path())
        std::filesystem::create_directories(file.parent_path(), error);
    if (error)
        return "cannot make its folder: " + error.message();
    const Descriptor made(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    return made.isOpen() ? "" : "cannot be opened: " + std::generic_category().message(errno);
}

}  // namespace kelp::util
