#include <kelp/changelog/change_log.h>

namespace kelp::changelog {

// the type information of both is in this library only
ChangeLog::~ChangeLog() = default;
LogFailure::~LogFailure() = default;

}  // namespace kelp::changelog
