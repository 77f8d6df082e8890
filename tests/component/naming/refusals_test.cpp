// Every change that a stranger could attempt in the naming service.

#include "naming_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;

class NamingRefusals : public NamingFixture {
  protected:
    NamingRefusals() { bind(); }

    /// Return the whole tree as a caller sees it.
    std::vector<std::string> everything() const {
        std::vector<std::string> all;
        const CosNaming::NamingContextExt_var root = outside();
        for (const char* context :
             {"TMF.Class", "TMF.Class/Kelp.Vendor", "EMS.Kind", "a/b/c/d/e"}) {
            const CosNaming::NamingContextExt_var at = overTheWire(root->resolve_str(context));
            for (const std::string& entry : entriesOf(at.in(), 100))
                all.push_back(std::string(context) + ": " + entry);
        }
        for (const std::string& entry : entriesOf(root.in(), 100))
            all.push_back(entry);
        const CORBA::Object_var object = root->resolve_str("EMS.Kind/factory.Object");
        all.push_back(textOf(object.in()));
        return all;
    }
    /// Attempt every modification of a context.
    void attack(CosNaming::NamingContextExt_ptr context, const char* nameText) {
        const CosNaming::Name name = nameOf(nameText);
        const CosNaming::NamingContextExt_var own = outside();
        EXPECT_THROW(context->bind(name, object_.in()), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->rebind(name, object_.in()), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->unbind(name), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->bind_context(name, own.in()), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->rebind_context(name, own.in()), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->bind_new_context(name), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->new_context(), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->destroy(), CORBA::NO_PERMISSION);
    }
};

TEST_F(NamingRefusals, NoModificationOfTheRootPassesAndEachIsReported) {
    const std::vector<std::string> before = everything();
    const CosNaming::NamingContextExt_var root = outside();
    attack(root.in(), "TMF.Class/Kelp.Vendor/factory");
    EXPECT_EQ(everything(), before);
    EXPECT_THAT(
        refused(),
        ElementsAre("bind TMF.Class/Kelp.Vendor/factory", "rebind TMF.Class/Kelp.Vendor/factory",
                    "unbind TMF.Class/Kelp.Vendor/factory",
                    "bind_context TMF.Class/Kelp.Vendor/factory",
                    "rebind_context TMF.Class/Kelp.Vendor/factory",
                    "bind_new_context TMF.Class/Kelp.Vendor/factory", "new_context ", "destroy "));
}

TEST_F(NamingRefusals, NoModificationOfAContextPasses) {
    const std::vector<std::string> before = everything();
    const CosNaming::NamingContextExt_var root = outside();
    const CosNaming::NamingContextExt_var vendor =
        overTheWire(root->resolve_str("TMF.Class/Kelp.Vendor"));
    attack(vendor.in(), "factory");
    attack(vendor.in(), "something.new");
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(refused().size(), 16u);
}

TEST_F(NamingRefusals, NoModificationUnderAnyKeyPasses) {
    for (const char* key : {"NameService", "DefaultNamingContext", "NamingContextExt"}) {
        const CosNaming::NamingContextExt_var root = outside(key);
        attack(root.in(), "EMS.Kind/factory.Object");
    }
    EXPECT_EQ(refused().size(), 24u);
}

TEST_F(NamingRefusals, CannotBeFilled) {
    const std::vector<std::string> before = everything();
    const CosNaming::NamingContextExt_var root = outside();
    for (int i = 0; i < 200; ++i) {
        const std::string name = "filler" + std::to_string(i);
        EXPECT_THROW(root->bind_new_context(nameOf(name.c_str())), CORBA::NO_PERMISSION);
    }
    EXPECT_EQ(everything(), before);
}

TEST_F(NamingRefusals, ServantThatServesAStrangerCannotChangeItEither) {
    /// Calls the naming service from inside, on the thread of a caller's request.
    class Deputy : public virtual POA_CosNaming::BindingIterator {
      public:
        explicit Deputy(CosNaming::NamingContextExt_ptr root)
            : root_(CosNaming::NamingContextExt::_duplicate(root)) {}
        CORBA::Boolean next_one(CosNaming::Binding_out) override { throw CORBA::NO_IMPLEMENT(); }
        CORBA::Boolean next_n(CORBA::ULong, CosNaming::BindingList_out) override {
            throw CORBA::NO_IMPLEMENT();
        }
        void destroy() override { root_->unbind(nameOf("TMF.Class/Kelp.Vendor/factory")); }

      private:
        CosNaming::NamingContextExt_var root_;
    };
    const CosNaming::NamingContextExt_var inside = service_->root();
    Deputy* const deputy = new Deputy(inside.in());
    const PortableServer::ObjectId_var id = orb_.root()->activate_object(deputy);
    deputy->_remove_ref();
    const CORBA::Object_var reference = orb_.root()->id_to_reference(id.in());
    const CORBA::Object_var remote = orb_.overTheWire(reference.in());
    const CosNaming::BindingIterator_var called =
        CosNaming::BindingIterator::_unchecked_narrow(remote.in());
    EXPECT_THROW(called->destroy(), CORBA::NO_PERMISSION);
    EXPECT_THAT(refused(), ElementsAre("unbind TMF.Class/Kelp.Vendor/factory"));
}

}  // namespace
}  // namespace kelp::test
