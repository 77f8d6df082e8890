#include "app/commands.h"

#include "app/password.h"

namespace kelp::nms {

namespace {

NmsSettings settingsOf(const ConnectionOptions& options) {
    NmsSettings settings;
    settings.naming = options.naming;
    settings.listen = options.listen;
    settings.timeout = options.timeout;
    if (!options.tlsAuthorities.empty())
        settings.tls = NmsTls{options.tlsAuthorities, options.tlsKeyFile,
                              readKeyPassword(options.tlsKeyPasswordFile).text(),
                              options.tlsChecksName, options.tlsName};
    return settings;
}

}  // namespace

int runCommand(const CommandLine& line, const std::string& password,
               const std::shared_ptr<Report>& report, Interrupts& interrupts) {
    NmsClient client(settingsOf(line.connection));
    return line.command.run({client, line.connection, password, report, interrupts});
}

}  // namespace kelp::nms
