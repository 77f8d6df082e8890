#pragma once

#include <kelp/nms/client.h>
#include <mtnm/emsMgr.h>
#include <nlohmann/json.hpp>

#include <mutex>
#include <string>
#include <vector>

namespace kelp::nms {

/// What kelpnms writes: answers on standard output, for people or as one JSON text a line; steps
/// and errors on standard error. Texts that a peer wrote are shown with control characters escaped.
/// May be used from any thread.
class Report {
  public:
    Report(bool json, bool verbose) : json_(json), verbose_(verbose) {}

    void factory(const FoundFactory& found, const std::string& version);
    void managers(const std::vector<std::string>& names);
    void pinged(unsigned number, double milliseconds);
    void ems(const emsMgr::EMS_T& ems, const common::CapabilityList_T* capabilities);
    /// A call of the EMS, with the time of this host; `details` are names and texts.
    void event(const std::string& name,
               const std::vector<std::pair<std::string, std::string>>& details);

    /// One line as it is.
    void line(const std::string& text);

    /// Only with --verbose.
    void step(const std::string& text);
    static void error(const std::string& text);

  private:
    void write(const nlohmann::ordered_json& json);
    const bool json_;
    const bool verbose_;
    std::mutex mutex_;
};

}  // namespace kelp::nms
