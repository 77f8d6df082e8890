#include "written_folders.h"

#include <kelp/bundlemgr/config_store.h>

namespace kelp::host {

std::set<std::filesystem::path> writtenFolders() {
    std::set<std::filesystem::path> folders = {NS_BUNDLEMGR1::defaultStateDirectory()};
    for (const char* key : {"oplog.database", "trace.file"}) {
        if (const std::filesystem::path file = NS_BUNDLEMGR1::ConfigStore::instance().text(key);
            !file.empty())
            folders.insert(file.parent_path());
    }
    return folders;
}

}  // namespace kelp::host
