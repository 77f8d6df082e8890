#include <kelp/nms/naming_walk.h>

#include <cstddef>
#include <exception>

namespace kelp::nms {

namespace {

/// The standard's path has five components. The rest is room for a site's contexts above it.
constexpr std::size_t kDepthMax = 16;
/// Limit for a cycle of contexts with many branches, which would take for ever even with the limit
/// on depth. No real naming tree needs this many listings.
constexpr std::size_t kListingsMax = 10000;

class Walk {
  public:
    Walk(NamingTree& tree, std::vector<NamingPath>& unreadable)
        : tree_(tree), unreadable_(unreadable) {}

    void visit(const NamingPath& context) {
        if (context.size() > kDepthMax || listings_ >= kListingsMax)
            return;
        for (const NamingEntry& entry : listing(context)) {
            NamingPath path = context;
            path.push_back(entry.name);
            if (entry.isContext)
                visit(path);
            else if (entry.name.kind == "EmsSessionFactory_I" || tree_.isFactory(path))
                factories.push_back(path);
        }
    }

    std::vector<NamingPath> factories;

  private:
    std::vector<NamingEntry> listing(const NamingPath& context) {
        ++listings_;
        if (context.empty())
            return tree_.list(context);
        try {
            return tree_.list(context);
        } catch (const std::exception&) {
            unreadable_.push_back(context);
            return {};
        }
    }

    NamingTree& tree_;
    std::vector<NamingPath>& unreadable_;
    std::size_t listings_ = 0;
};

}  // namespace

std::vector<NamingPath> findFactories(NamingTree& tree, std::vector<NamingPath>& unreadable) {
    Walk walk(tree, unreadable);
    walk.visit({});
    return walk.factories;
}

}  // namespace kelp::nms
