#pragma once

#include <kelp/bundlemgr/config_store.h>
#include <kelp/bundlemgr/service_object.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// Error texts from a TOML file with a table [errors] of lines such as "0x411800BA" = "text".
/// Immutable after load().
class KELP_EXPORT ErrorCatalogue final : public ErrorCodeBufIf {
  public:
    /// Read the file. Problems name the file, line and key; the catalogue is then empty.
    std::vector<ConfigProblem> load(const std::filesystem::path& file);
    bool GetErrorText(unsigned long code, std::string& text) const override;
    std::size_t size() const { return texts_.size(); }

  private:
    std::map<unsigned long, std::string> texts_;
};

}  // namespace NS_BUNDLEMGR1
