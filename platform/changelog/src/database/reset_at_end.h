#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

namespace kelp::changelog {

/// Resets a statement at the end of the scope. Until then the statement keeps its snapshot of the
/// file.
class ResetAtEnd {
  public:
    explicit ResetAtEnd(SQLite::Statement& statement) : statement_(statement) {}
    // the result is that of the last step, which has been reported already
    ~ResetAtEnd() { statement_.tryReset(); }
    ResetAtEnd(const ResetAtEnd&) = delete;
    ResetAtEnd& operator=(const ResetAtEnd&) = delete;

  private:
    SQLite::Statement& statement_;
};

}  // namespace kelp::changelog
