#pragma once

#include <kelp/bundlemgr/config_store.h>
#include <kelp/orb/tls_files.h>
#include <kelp/util/export.h>

#include <optional>
#include <string>
#include <vector>

namespace NS_CORBA {

/// Return the files that [tls] names and the password of the key, which is the first line of
/// key_password_file. Nothing, with the reason in `whyNot`, when that file cannot be read or is
/// accessible to other users. Any thread may call it.
KELP_EXPORT std::optional<kelp::orb::TlsFiles> configuredTlsFiles(std::string& whyNot);

/// Return the problems that would keep TLS from working with the configured files now, each with
/// the configuration key at fault. None when tls.mode is 0. Reads the files. Any thread may call
/// it.
KELP_EXPORT std::vector<NS_BUNDLEMGR1::ConfigProblem> problemsOfConfiguredTls();

}  // namespace NS_CORBA
