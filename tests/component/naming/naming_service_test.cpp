// What callers find in the naming service, over connections.

#include "naming_fixture.h"

namespace kelp::test {
namespace {

using CosNaming::NamingContext;
using testing::ElementsAre;

class NamingServiceTest : public NamingFixture {};

TEST_F(NamingServiceTest, AnswersUnderEveryKey) {
    bind();
    for (const char* key : {"NameService", "DefaultNamingContext", "NamingContextExt"}) {
        const CosNaming::NamingContextExt_var root = outside(key);
        const CORBA::Object_var found = root->resolve(nameOf("TMF.Class/Kelp.Vendor/factory"));
        EXPECT_EQ(textOf(found.in()), textOf(object_.in())) << key;
        EXPECT_TRUE(root->_is_a("IDL:omg.org/CosNaming/NamingContext:1.0"));
        EXPECT_TRUE(root->_is_a("IDL:omg.org/CosNaming/NamingContextExt:1.0"));
        EXPECT_FALSE(root->_non_existent());
    }
}

TEST_F(NamingServiceTest, AnswersClientsOfGiopOneZero) {
    bind();
    const CORBA::Object_var object = orb::toReference(
        orb_.orb(), "corbaloc::127.1:" + std::to_string(orb_.port()) + "/NameService");
    const NamingContext::_var_type root = NamingContext::_narrow(object.in());
    const CORBA::Object_var found = root->resolve(nameOf("EMS.Kind/factory.Object"));
    EXPECT_EQ(textOf(found.in()), textOf(object_.in()));
}

TEST_F(NamingServiceTest, ObjectIsShownUnderItsPathAndEveryAliasAsItWasBound) {
    bind();
    const CosNaming::NamingContextExt_var root = outside();
    for (const char* path :
         {"TMF.Class/Kelp.Vendor/factory", "EMS.Kind/factory.Object", "a/b/c/d/e/f"}) {
        const CORBA::Object_var byName = root->resolve(nameOf(path));
        const CORBA::Object_var byText = root->resolve_str(path);
        EXPECT_EQ(textOf(byName.in()), textOf(object_.in())) << path;
        EXPECT_EQ(textOf(byText.in()), textOf(object_.in())) << path;
    }
}

TEST_F(NamingServiceTest, ContextsLeadOnFromWhereTheyAre) {
    bind();
    const CosNaming::NamingContextExt_var root = outside();
    const CosNaming::NamingContextExt_var middle = overTheWire(root->resolve_str("a/b/c"));
    EXPECT_TRUE(middle->_is_a("IDL:omg.org/CosNaming/NamingContext:1.0"));
    const CORBA::Object_var found = middle->resolve_str("d/e/f");
    EXPECT_EQ(textOf(found.in()), textOf(object_.in()));
    EXPECT_THAT(entriesOf(middle.in(), 10), ElementsAre("d/"));
    EXPECT_THROW(middle->resolve_str("EMS.Kind"), NamingContext::NotFound);
}

TEST_F(NamingServiceTest, MissingNamesAreNotFound) {
    bind();
    const CosNaming::NamingContextExt_var root = outside();
    try {
        root->resolve_str("a/b/x/y");
        ADD_FAILURE() << "found";
    } catch (const NamingContext::NotFound& failure) {
        EXPECT_EQ(failure.why, NamingContext::missing_node);
        EXPECT_EQ(failure.rest_of_name.length(), 2u);
        EXPECT_STREQ(failure.rest_of_name[0].id.in(), "x");
    }
    try {
        root->resolve_str("a/b/c/d/e/f/g");
        ADD_FAILURE() << "found";
    } catch (const NamingContext::NotFound& failure) {
        EXPECT_EQ(failure.why, NamingContext::not_context);
        EXPECT_EQ(failure.rest_of_name.length(), 2u);
    }
    EXPECT_THROW(root->resolve(CosNaming::Name()), NamingContext::InvalidName);
}

TEST_F(NamingServiceTest, ObjectComesAndGoesWithItsBinding) {
    const CosNaming::NamingContextExt_var root = outside();
    const CosNaming::NamingContextExt_var inside = service_->root();
    const CosNaming::Name path = nameOf("TMF.Class/Kelp.Vendor/factory");
    EXPECT_THROW(root->resolve_str("a/b/c/d/e/f"), NamingContext::NotFound);
    inside->bind(path, object_.in());
    EXPECT_THROW(inside->bind(path, object_.in()), NamingContext::AlreadyBound);
    const CORBA::Object_var found = root->resolve_str("a/b/c/d/e/f");
    EXPECT_EQ(textOf(found.in()), textOf(object_.in()));
    const CORBA::Object_var other = orb_.root()->create_reference("IDL:Other:1.0");
    inside->rebind(path, other.in());
    const CORBA::Object_var foundThen = root->resolve_str("a/b/c/d/e/f");
    EXPECT_EQ(textOf(foundThen.in()), textOf(other.in()));
    inside->unbind(path);
    EXPECT_THROW(root->resolve_str("a/b/c/d/e/f"), NamingContext::NotFound);
    EXPECT_THROW(inside->unbind(path), NamingContext::NotFound);
}

TEST_F(NamingServiceTest, InsideTheRootIsResolvedLikeAnyOther) {
    bind();
    const CosNaming::NamingContextExt_var inside = service_->root();
    const CORBA::Object_var context = inside->resolve_str("TMF.Class/Kelp.Vendor");
    const NamingContext::_var_type narrowed = NamingContext::_narrow(context.in());
    ASSERT_FALSE(CORBA::is_nil(narrowed.in()));
    const CORBA::Object_var found = narrowed->resolve(nameOf("factory"));
    EXPECT_EQ(textOf(found.in()), textOf(object_.in()));
}

TEST_F(NamingServiceTest, ConvertsNamesTextsAndUrls) {
    const CosNaming::NamingContextExt_var root = outside();
    const CORBA::String_var text = root->to_string(nameOf("Kelp\\/EMS.x/b"));
    EXPECT_STREQ(text.in(), "Kelp\\/EMS.x/b");
    CosNaming::Name_var name = root->to_name(text.in());
    EXPECT_EQ(name->length(), 2u);
    const CORBA::String_var url = root->to_url(":ems:4801", text.in());
    EXPECT_STREQ(url.in(), "corbaname::ems:4801#Kelp%5c/EMS.x/b");
    EXPECT_THROW(root->to_url("ems", text.in()), CosNaming::NamingContextExt::InvalidAddress);
    EXPECT_THROW(root->to_name("a//b"), NamingContext::InvalidName);
}

TEST_F(NamingServiceTest, CorbanameOfTheOrbLeadsToTheObject) {
    bind();
    const CORBA::Object_var found = orb::toReference(
        orb_.orb(), "corbaname::127.1:" + std::to_string(orb_.port()) + "#EMS.Kind/factory.Object");
    EXPECT_EQ(textOf(found.in()), textOf(object_.in()));
}

TEST_F(NamingServiceTest, OtherAliasesAreTakenOverWhileItRuns) {
    bind();
    const CosNaming::NamingContextExt_var root = outside();
    const CosNaming::NamingContextExt_var gone = overTheWire(root->resolve_str("a/b"));
    EXPECT_THROW(service_->change({util::toNamingPath("TMF.Class/Kelp.Vendor/factory/more")}, {}),
                 std::invalid_argument);
    EXPECT_FALSE(gone->_non_existent());
    service_->change({util::toNamingPath("new.alias")}, {});
    const CORBA::Object_var found = root->resolve_str("new.alias");
    EXPECT_EQ(textOf(found.in()), textOf(object_.in()));
    EXPECT_THROW(root->resolve_str("a/b"), NamingContext::NotFound);
    EXPECT_THROW(gone->resolve_str("c"), CORBA::OBJECT_NOT_EXIST);
    EXPECT_TRUE(gone->_non_existent());
}

TEST_F(NamingServiceTest, ReferencesOfContextsOutliveTheService) {
    const CosNaming::NamingContextExt_var root = outside();
    const CORBA::Object_var context = root->resolve_str("a/b");
    const std::string before = textOf(context.in());
    service_.reset();
    EXPECT_THROW(root->resolve_str("a/b"), CORBA::OBJECT_NOT_EXIST);
    service_.emplace(orb_.orb(), orb_.root(), settings(), [](const naming::RefusedChange&) {});
    service_->letCallersThrough();
    const CORBA::Object_var again = root->resolve_str("a/b");
    EXPECT_EQ(textOf(again.in()), before);
}

TEST_F(NamingServiceTest, KeyInUseIsRefusedAndNothingRemains) {
    EXPECT_THROW(naming::NamingService(orb_.orb(), orb_.root(), settings(), nullptr),
                 CORBA::Exception);
    const CosNaming::NamingContextExt_var root = outside();
    EXPECT_FALSE(root->_non_existent()) << "the first goes on";
}

}  // namespace
}  // namespace kelp::test
