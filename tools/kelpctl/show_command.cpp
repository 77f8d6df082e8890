#include "show_command.h"

#include <kelp/util/json_text.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>

#include "admin_client.h"

namespace kelp::ctl {

namespace {

/// The options of a command that shows an answer.
struct ShowOptions {
    bool asJson = false;
    int everySeconds = 0;  ///< 0: once
};

void showOnce(const ShowCommand& show, const ShowOptions& options, const admin::Json& answer) {
    const bool repeats = options.everySeconds > 0;
    if (options.asJson) {
        std::printf("%s\n", util::jsonText(answer, repeats ? -1 : 2).c_str());
    } else {
        if (repeats && ::isatty(STDOUT_FILENO) != 0)
            std::printf("\x1b[H\x1b[2J");
        show.table(answer);
    }
    std::fflush(stdout);
}

}  // namespace

void addShowCommand(CLI::App& app, const GlobalOptions& options, const ShowCommand& show) {
    const auto given = std::make_shared<ShowOptions>();
    CLI::App* command = app.add_subcommand(show.name, show.description);
    command->fallthrough()->footer(show.footer);
    command->add_flag("--json", given->asJson, "Write the answer as JSON");
    command->add_option("--watch", given->everySeconds, "Repeat after each of these SECONDS")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600));
    command->callback([&options, given, show] {
        loadConfiguration(options);
        const AdminClient client(admin::configuredAddress());
        admin::Json answer = client.get(show.path);
        showOnce(show, *given, answer);
        while (given->everySeconds > 0 && std::ferror(stdout) == 0) {
            std::this_thread::sleep_for(std::chrono::seconds(given->everySeconds));
            answer = client.get(show.path);
            showOnce(show, *given, answer);
        }
        if (const int status = show.exitStatus == nullptr ? 0 : show.exitStatus(answer);
            status != 0)
            throw CLI::RuntimeError(status);
    });
}

}  // namespace kelp::ctl
