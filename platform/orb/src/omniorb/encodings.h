#pragma once

#include <kelp/orb/event_sender.h>

namespace kelp::orb {

/// Writes an event, in the form that a stream needs. Callable from any thread.
class SharedEvent::Encodings {
  public:
    explicit Encodings(const SharedEvent& event) : event_(event) {}

    /// Write the event as the stream's next value. If the stream needs another form than the event
    /// has, the event is encoded only the first time for streams of that form.
    void write(cdrStream& stream) const;

  private:
    const SharedEvent& event_;
};

}  // namespace kelp::orb
