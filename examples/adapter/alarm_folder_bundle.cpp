#include <ace/svc_export.h>
#include <kelp/admin/registry.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/bundlemgr/service_object.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <optional>

#include "folder_watch.h"
#include "settings.h"

namespace kelp::example {

/// The service object of the bundle alarm_folder. While it is loaded it answers GET /alarm-folder
/// of the operator's interface with its counts.
class AlarmFolderBundle final : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    AlarmFolderBundle() : ServiceObjectBase("alarm_folder_bundle", "alarm_folder") {}

    int init(int, char*[]) override {
        try {
            watch_.emplace(readSettings(settingsFile(),
                                        NS_BUNDLEMGR1::ConfigStore::instance().text("ems.name")));
            shownCounts_ = admin::Registry::instance().enter(
                "GET", "/alarm-folder", [this](const admin::Json&) { return counts(); });
        } catch (...) {
            util::traceFrom("alarmfolder",
                            "alarm_folder cannot start: " + util::currentExceptionText());
            watch_.reset();
            return -1;
        }
        return 0;
    }

    int fini() override { return 0; }

    void Shutdown() override {
        shownCounts_.leave();
        watch_.reset();
    }

  private:
    admin::Json counts() const {
        const Counts& counts = watch_->counts();
        return {{"files", counts.files.load()},
                {"reports", counts.reports.load()},
                {"refusedLines", counts.refusedLines.load()},
                {"refusedFiles", counts.refusedFiles.load()},
                {"waits", counts.waits.load()}};
    }

    std::optional<FolderWatch> watch_;
    admin::Registration shownCounts_;
};

}  // namespace kelp::example

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, alarm_folder, kelp::example::AlarmFolderBundle)
