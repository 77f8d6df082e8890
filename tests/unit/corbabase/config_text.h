#pragma once

#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_store.h>

#include <string>

namespace kelp::test {

/// Load a configuration, which must be free of problems.
inline void configure(const std::string& toml) {
    for (const NS_BUNDLEMGR1::ConfigProblem& problem :
         NS_BUNDLEMGR1::ConfigStore::instance().loadText(toml, "test.toml"))
        ADD_FAILURE() << problem.text();
}

}  // namespace kelp::test
