#include "admin/page/page_files.h"

#include <algorithm>

#include "page_texts.h"

namespace kelp::host {

namespace {

constexpr std::string_view kHtmlType = "text/html; charset=utf-8";
constexpr std::string_view kCssType = "text/css; charset=utf-8";
constexpr std::string_view kScriptType = "text/javascript; charset=utf-8";

constexpr PageFile kPageFiles[] = {
    {"/", kHtmlType, kPageHtml},
    {"/page/page.css", kCssType, kPageCss},
    {"/page/page.js", kScriptType, kPageJs},
    {"/page/host.js", kScriptType, kHostJs},
    {"/page/elements.js", kScriptType, kElementsJs},
    {"/page/sections.js", kScriptType, kSectionsJs},
};

}  // namespace

std::span<const PageFile> pageFiles() {
    return kPageFiles;
}

const PageFile* pageFileAt(std::string_view path) {
    const auto* const found = std::find_if(std::begin(kPageFiles), std::end(kPageFiles),
                                           [&](const PageFile& each) { return each.path == path; });
    return found == std::end(kPageFiles) ? nullptr : found;
}

}  // namespace kelp::host
