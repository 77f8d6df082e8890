#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "giop/arguments/type_table.h"

namespace kelp::orb::giop {

/// An operation whose parameters hold an any or a TypeCode.
struct OperationShape {
    std::string_view name;
    std::uint32_t parameters;  ///< the struct of its in and inout parameters
};

/// All such operations of the interfaces in the build, made from the IDL, by name.
std::span<const OperationShape> operationShapes();
/// The types of their parameters.
std::span<const TypeNode> shapeNodes();
std::span<const TypePart> shapeParts();

/// The struct of an operation's parameters; nothing for one that is not in the table.
std::optional<std::uint32_t> parametersOf(std::string_view operation);

}  // namespace kelp::orb::giop
