#pragma once

#include <surroundings.h>

#include <optional>
#include <string>
#include <vector>

namespace kelp::test {

/// An ORB's part as a test wants it: references are nil, and what was asked for is kept.
class FakeSurroundings : public naming::Surroundings {
  public:
    /// What the servants see and leave; outlives the surroundings.
    struct Script {
        std::string objectId = "/";
        std::optional<std::string> caller;
        std::vector<std::string> contexts;   ///< paths of the references made
        std::vector<std::string> iterators;  ///< ids of the references made
    };

    explicit FakeSurroundings(Script& script) : script_(script) {}

    CosNaming::NamingContextExt_ptr contextAt(const util::NamingPath& path) override {
        script_.contexts.push_back(toText(path));
        return CosNaming::NamingContextExt::_nil();
    }
    CosNaming::BindingIterator_ptr iteratorOf(const std::string& id) override {
        script_.iterators.push_back(id);
        return CosNaming::BindingIterator::_nil();
    }
    std::string currentObjectId() override { return script_.objectId; }
    std::optional<std::string> caller() override { return script_.caller; }

  private:
    Script& script_;
};

}  // namespace kelp::test
