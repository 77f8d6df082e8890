#include <kelp/util/file_identity.h>
#include <sys/stat.h>

namespace kelp::util {

FileIdentity identityOf(const std::filesystem::path& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0)
        return {};
    return {status.st_dev, status.st_ino};
}

}  // namespace kelp::util
