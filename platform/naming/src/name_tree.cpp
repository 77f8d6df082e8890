#include "name_tree.h"

#include <stdexcept>

namespace kelp::naming {

using util::NamingComponent;
using util::NamingPath;

/// A context, or the object.
struct NameTree::Node {
    std::map<NamingComponent, Node> entries;
    bool isObject = false;
};

NameTree::NameTree(const std::vector<NamingPath>& objectPaths) : root_(std::make_unique<Node>()) {
    for (const NamingPath& path : objectPaths)
        add(path);
}

NameTree::~NameTree() = default;

void NameTree::add(const NamingPath& path) {
    if (path.empty())
        throw std::invalid_argument("the root context cannot be the object");
    Node* node = root_.get();
    for (const NamingComponent& component : path) {
        if (node->isObject)
            throw std::invalid_argument("the path " + toText(path) + " leads through the object");
        node = &node->entries[component];
    }
    if (!node->entries.empty())
        throw std::invalid_argument("the path " + toText(path) + " is a context");
    node->isObject = true;
}

const NameTree::Node* NameTree::nodeAt(const NamingPath& path, std::size_t& at) const {
    const Node* node = root_.get();
    for (at = 0; at < path.size(); ++at) {
        const auto next = node->entries.find(path[at]);
        if (next == node->entries.end())
            return nullptr;
        node = &next->second;
        if (node->isObject && at + 1 < path.size())
            return node;
    }
    return node;
}

NameTree::Found NameTree::find(const NamingPath& path) const {
    std::size_t at = 0;
    const Node* const node = nodeAt(path, at);
    if (node == nullptr)
        return {Kind::Nothing, at};
    if (at < path.size())
        return {Kind::Through, at};
    return {node->isObject ? Kind::Object : Kind::Context, at};
}

std::vector<NameEntry> NameTree::list(const NamingPath& context) const {
    std::size_t at = 0;
    const Node* const node = nodeAt(context, at);
    std::vector<NameEntry> entries;
    if (node == nullptr || node->isObject)
        return entries;
    entries.reserve(node->entries.size());
    for (const auto& [name, entry] : node->entries)
        entries.push_back({name, !entry.isObject});
    return entries;
}

}  // namespace kelp::naming
