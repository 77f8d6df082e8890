#pragma once

#include <kelp/bundlemgr/config_store.h>
#include <kelp/orb/tls_files.h>
#include <kelp/util/export.h>

#include <optional>
#include <string>
#include <vector>

namespace NS_CORBA {

/// The files that [tls] names, and the key's password: the first line of key_password_file. None,
/// with the reason, when that file cannot be read or is not for this process's user alone. Any
/// thread.
KELP_EXPORT std::optional<kelp::orb::TlsFiles> configuredTlsFiles(std::string& whyNot);

/// What would keep TLS from working with the configured files now, each with the key to blame; none
/// where tls.mode is 0. Reads the files; any thread.
KELP_EXPORT std::vector<NS_BUNDLEMGR1::ConfigProblem> problemsOfConfiguredTls();

}  // namespace NS_CORBA
