#pragma once

#include <surroundings.h>

#include <optional>
#include <string>
#include <vector>

namespace kelp::test {

/// Takes the ORB's place. All references are nil, and requests for references are recorded.
class FakeSurroundings : public naming::Surroundings {
  public:
    /// Input and output of the servants. It must outlive the surroundings.
    struct Script {
        std::string objectId = "/";
        std::optional<std::string> caller;
        std::vector<std::string> contexts;   ///< paths of the references created
        std::vector<std::string> iterators;  ///< ids of the references created
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
