#pragma once

#include <kelp/admin/registry.h>

#include <string>

namespace kelp::ctl {

/// Format the answers of the host about sessions as tables. Texts of NMS are escaped, so they
/// cannot control the terminal.
std::string sessionsTable(const admin::Json& answer);
std::string endedTable(const admin::Json& answer);
std::string sessionText(const admin::Json& session);
std::string explanationText(const admin::Json& session);
std::string drainText(const admin::Json& drain);
/// The screen of `top`: totals, then the sessions, those whose events are oldest first.
std::string topScreen(const admin::Json& answer, std::size_t rowsMax);

}  // namespace kelp::ctl
