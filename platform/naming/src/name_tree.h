#pragma once

#include <kelp/util/naming_path.h>

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

namespace kelp::naming {

/// One entry of a context.
struct NameEntry {
    util::NamingComponent name;
    bool isContext = false;
    bool operator==(const NameEntry&) const = default;
};

/// Contexts that lead to one object under several paths. Constant once it is made.
class NameTree {
  public:
    /// Throws std::invalid_argument when a path is empty or leads through the end of another. The
    /// same path twice counts once.
    explicit NameTree(const std::vector<util::NamingPath>& objectPaths);
    ~NameTree();

    enum class Kind {
        Context,
        Object,
        Nothing,  ///< a component is not there
        Through,  ///< a component that is not the last names the object
    };
    struct Found {
        Kind kind = Kind::Nothing;
        std::size_t at =
            0;  ///< the component that is not there or names the object; else the path's length
    };
    /// The empty path is the root context.
    Found find(const util::NamingPath& path) const;
    bool isContext(const util::NamingPath& path) const { return find(path).kind == Kind::Context; }
    /// The entries of a context, sorted by name; none for anything else.
    std::vector<NameEntry> list(const util::NamingPath& context) const;

  private:
    struct Node;
    const Node* nodeAt(const util::NamingPath& path, std::size_t& at) const;
    void add(const util::NamingPath& path);

    std::unique_ptr<Node> root_;
};

}  // namespace kelp::naming
