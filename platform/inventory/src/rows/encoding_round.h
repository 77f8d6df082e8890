#pragma once

#include "database/connection.h"

namespace kelp::inventory {

/// Give an encoded form to every row that has none, or one that does not fit, if encoded_state says
/// that there may be such rows. Commits every few thousand rows, so that other writers get their
/// turn and an interrupted round is continued by the next. Throws SQLite::Exception.
void encodeMissing(Connection& connection);

/// Let the next encodeMissing() check all rows.
void requestEncoding(Connection& connection);

}  // namespace kelp::inventory
