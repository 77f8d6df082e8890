#pragma once

#include <kelp/bundlemgr/config_store.h>
#include <kelp/bundlemgr/service_object.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// Error texts read from a TOML file: a table [errors] of "0x411800BA" = "text". Constant after
/// load.
class KELP_EXPORT ErrorCatalogue final : public ErrorCodeBufIf {
  public:
    /// Reads the file; problems name file, line and key, and leave the catalogue empty.
    std::vector<ConfigProblem> load(const std::filesystem::path& file);
    bool GetErrorText(unsigned long code, std::string& text) const override;
    std::size_t size() const { return texts_.size(); }

  private:
    std::map<unsigned long, std::string> texts_;
};

}  // namespace NS_BUNDLEMGR1
