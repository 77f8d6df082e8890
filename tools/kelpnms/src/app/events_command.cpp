#include "app/events_command.h"

#include <memory>

#include "app/seconds_option.h"
#include "events/follow_events.h"

namespace kelp::nms {

namespace {

constexpr const char* kEventsFooter =
    R"(Each event is one line: time of arrival, perceivedSeverity, type, object, probable cause, text. On a terminal, the
table fits the terminal's width and the colour shows the severity; set NO_COLOR to switch the colours off. Elsewhere
no text is cut. With --json, each line is a JSON object: an event has the keys "type" and "fields", a notice has the
key "event".

Notices begin with ***. They say which events may be missing:
  eventLossOccurred, eventLossCleared, alarmLossOccurred
      The EMS reported a loss to this NMS's session object. The lost events may have been for this NMS or for another.
  (duplicate), in JSON "duplicate": true
      An event with the same notificationId and the same content has arrived before. The EMS did not know whether it
      had arrived, and sent it again. --count counts it once. A different event with a used id is not a duplicate,
      because the standard does not guarantee unique ids. kelpnms compares the newest 10000 events of a connection;
      it does not compare heartbeats.
  notificationIdWentBack
      The id is a smaller number than the previous one: the EMS has restarted its ids, or events have overtaken
      each other. Missing ids mean nothing, because events that were filtered out or were for other consumers use
      ids too.
  connectionLost
      The EMS ended the session, or its event channel disconnected this consumer, or the session no longer answers
      (kelpnms pings it every 5 s), or a heartbeat is overdue. A heartbeat is overdue when no event of any type has
      arrived for 1.5 times the heartbeat interval, and for at least 2 s longer than the interval. The interval is
      --heartbeat-interval or, without that option, the time between the first two heartbeats of a connection. As long
      as kelpnms does not know the interval, it does not check for overdue heartbeats. A --filter must let heartbeats
      through for this check.
  reconnecting, reconnectFailed, reconnected
      kelpnms logs in again and connects with the same filter. The first attempt follows after 1 s; the pauses then
      double up to 30 s. Events that the EMS sent in the meantime are missing.

After a loss and after a reconnect, a notice asks you to resynchronise: read the active alarms, and everything else
that you keep of the EMS, again.

Ctrl-C and SIGTERM disconnect from the channel and end the session at any time. A second signal ends kelpnms at once.)";

}  // namespace

void addEventsCommand(CLI::App& app, SelectedCommand& selected) {
    const auto options = std::make_shared<EventsOptions>();
    CLI::App* events =
        app.add_subcommand("events", "Stay logged in and show each event of the EMS until Ctrl-C");
    events->add_option(
        "--filter", options->filter,
        "Receive only events that match this constraint (extended trader constraint language)");
    events->add_flag("--sequence", options->sequences, "Receive events in batches");
    events->add_option("--count", options->count, "Leave after this number of events")
        ->check(CLI::Range(1u, 1000000000u));
    addSecondsOption(*events, "--for", 0.1, options->duration,
                     "Leave after this number of seconds");
    addSecondsOption(*events, "--heartbeat-interval", 0.5, options->heartbeatInterval,
                     "Seconds between the EMS's heartbeats; default: learned from the first two");
    events->add_flag("!--no-reconnect", options->reconnect,
                     "Exit when the events end, instead of logging in again");
    events->footer(kEventsFooter);
    events->callback([&selected, options] {
        selected = {true, [options](const CommandContext& context) {
                        return followEvents(context, *options);
                    }};
    });
}

}  // namespace kelp::nms
