#include "naming/factory_path.h"

#include <kelp/bundlemgr/config_store.h>

namespace NS_CORBA {

kelp::util::NamingPath configuredFactoryPath() {
    const NS_BUNDLEMGR1::ConfigStore& config = NS_BUNDLEMGR1::ConfigStore::instance();
    return kelp::util::factoryPath(config.text("ems.name"), config.text("ems.version"));
}

}  // namespace NS_CORBA
