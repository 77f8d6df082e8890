#pragma once

#include <kelp/nms/client.h>
#include <kelp/util/mutex.h>
#include <mtnm/emsMgr.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace kelp::nms {

/// Writes the output of kelpnms: answers on standard output, for people or as one JSON text a line,
/// and steps and errors on standard error. Control characters in texts from a peer are escaped. May
/// be used from any thread.
class Report {
  public:
    Report(bool json, bool verbose) : json_(json), verbose_(verbose) {}

    void factory(const FoundFactory& found, const std::string& version);
    void managers(const std::vector<std::string>& names);
    void pinged(unsigned number, double milliseconds);
    void ems(const emsMgr::EMS_T& ems, const common::CapabilityList_T* capabilities);
    /// Write a call from the EMS, with this host's time. `details` are names and texts.
    void event(const std::string& name,
               const std::vector<std::pair<std::string, std::string>>& details);

    /// Write one line without changes.
    void line(const std::string& text);

    /// Write a step, if --verbose was given.
    void step(const std::string& text);
    static void error(const std::string& text);

  private:
    void write(const nlohmann::ordered_json& json);
    const bool json_;
    const bool verbose_;
    /// One output at a time.
    util::Mutex mutex_{util::LockRank::Leaf, "Report::mutex_"};
};

}  // namespace kelp::nms
