#pragma once

#include <kelp/util/naming_path.h>

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

namespace kelp::naming {

/// An entry of a context.
struct NameEntry {
    util::NamingComponent name;
    bool isContext = false;
    bool operator==(const NameEntry&) const = default;
};

/// Contexts that lead to one object under several paths. Immutable.
class NameTree {
  public:
    /// Throws std::invalid_argument if a path is empty, or leads through the end of another one. A
    /// path given twice counts once.
    explicit NameTree(const std::vector<util::NamingPath>& objectPaths);
    ~NameTree();

    enum class Kind {
        Context,
        Object,
        Nothing,  ///< a component does not exist
        Through,  ///< a component other than the last names the object
    };
    struct Found {
        Kind kind = Kind::Nothing;
        std::size_t at =
            0;  ///< the component that does not exist or names the object; else the path's length
    };
    /// What a path leads to. The empty path leads to the root context.
    Found find(const util::NamingPath& path) const;
    bool isContext(const util::NamingPath& path) const { return find(path).kind == Kind::Context; }
    /// The entries of a context, sorted by name; empty if the path does not lead to a context.
    std::vector<NameEntry> list(const util::NamingPath& context) const;

  private:
    struct Node;
    const Node* nodeAt(const util::NamingPath& path, std::size_t& at) const;
    void add(const util::NamingPath& path);

    std::unique_ptr<Node> root_;
};

}  // namespace kelp::naming
