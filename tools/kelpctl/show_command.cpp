#include "show_command.h"

#include <kelp/util/json_text.h>

#include <cstdio>
#include <memory>

#include "admin_client.h"

namespace kelp::ctl {

void addShowCommand(CLI::App& app, const GlobalOptions& options, const ShowCommand& show) {
    const auto json = std::make_shared<bool>(false);
    CLI::App* command = app.add_subcommand(show.name, show.description);
    command->fallthrough()->footer(show.footer);
    command->add_flag("--json", *json, "Write the answer as JSON");
    command->callback(
        [&options, json, path = show.path, table = show.table, exitStatus = show.exitStatus] {
            loadConfiguration(options);
            const admin::Json answer = AdminClient(admin::configuredAddress()).get(path);
            if (*json)
                std::printf("%s\n", util::jsonText(answer, 2).c_str());
            else
                table(answer);
            if (const int status = exitStatus == nullptr ? 0 : exitStatus(answer); status != 0)
                throw CLI::RuntimeError(status);
        });
}

}  // namespace kelp::ctl
