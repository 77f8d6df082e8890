#pragma once

#include <span>
#include <string_view>

namespace kelp::host {

/// A file of the status page, which is part of the program. The files hold no data of the host, so
/// everybody who reaches the operator's interface may read them.
struct PageFile {
    std::string_view path;  ///< "/page/page.css"; the page itself is "/"
    std::string_view type;  ///< its Content-Type
    std::string_view content;
};

/// All files of the status page.
std::span<const PageFile> pageFiles();

/// The file with this path, or null.
const PageFile* pageFileAt(std::string_view path);

}  // namespace kelp::host
