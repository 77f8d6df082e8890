#pragma once

#include <kelp/agent/error_translation.h>
#include <mtnm/common.h>

#include <span>

namespace kelp::managers {

// Every manager has one list of all operations of its interface, the inherited ones first: a file
// of lines MANAGER_OPERATION(module, interface, operation, (C++ parameters), Supported or
// Unsupported). The servant's declarations and the answer of getCapabilities are both made from it.

/// Declares the operation; one that is not supported raises EXCPT_NOT_IMPLEMENTED.
#define MANAGER_DECLARE(module, interface, operation, parameters, support) \
    MANAGER_DECLARE_##support(operation, parameters)
#define MANAGER_DECLARE_Supported(operation, parameters) void operation parameters override;
#define MANAGER_DECLARE_Unsupported(operation, parameters)                    \
    void operation parameters override {                                      \
        NS_KELPCORBA::ThrowException(NS_KELPCORBA::kOperationNotImplemented); \
    }

/// The operation's entry in the answer of getCapabilities.
#define MANAGER_CAPABILITY(module, interface, operation, parameters, support) \
    kelp::managers::Capability{#module "::" #interface "::" #operation, #support},

struct Capability {
    const char* name;
    const char* value;
};

/// The caller owns the list.
common::CapabilityList_T* capabilityList(std::span<const Capability> capabilities);

}  // namespace kelp::managers
