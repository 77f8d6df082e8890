#include "giop/arguments/operation_shapes.h"

#include <algorithm>

namespace kelp::orb::giop {

namespace {

#include "operation_shapes.inc"

}  // namespace

std::span<const OperationShape> operationShapes() {
    return operations;
}

std::span<const TypeNode> shapeNodes() {
    return nodes;
}

std::span<const TypePart> shapeParts() {
    return parts;
}

std::optional<std::uint32_t> parametersOf(std::string_view operation) {
    const auto* const found = std::lower_bound(
        std::begin(operations), std::end(operations), operation,
        [](const OperationShape& shape, std::string_view name) { return shape.name < name; });
    if (found == std::end(operations) || found->name != operation)
        return std::nullopt;
    return found->parameters;
}

}  // namespace kelp::orb::giop
