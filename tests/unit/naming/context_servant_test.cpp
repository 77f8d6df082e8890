// The answers of contexts and iterators, called as the ORB calls them, but without an ORB.

#include <binding_iterator.h>
#include <context_servant.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_surroundings.h"

namespace kelp::naming {
namespace {

using CosNaming::NamingContext;
using testing::ElementsAre;
using testing::IsEmpty;
using util::toNamingPath;

CosNaming::Name nameOf(const char* text) {
    CosNaming::Name name;
    for (const util::NamingComponent& component : toNamingPath(text)) {
        const CORBA::ULong at = name.length();
        name.length(at + 1);
        name[at].id = component.id.c_str();
        name[at].kind = component.kind.c_str();
    }
    return name;
}

std::string textOf(const CosNaming::Name& name) {
    util::NamingPath path;
    for (CORBA::ULong i = 0; i < name.length(); ++i)
        path.push_back({name[i].id.in(), name[i].kind.in()});
    return toText(path);
}

class ContextServantTest : public testing::Test {
  protected:
    /// Return "reason rest" for a call that finds nothing.
    template <class Call>
    static std::string notFound(Call call) {
        try {
            call();
        } catch (const NamingContext::NotFound& failure) {
            static const char* const reasons[] = {"missing_node", "not_context", "not_object"};
            return std::string(reasons[failure.why]) + " " + textOf(failure.rest_of_name);
        }
        return "found";
    }
    std::string resolving(const char* text) {
        return notFound([&] { const CORBA::Object_var found = root().resolve(nameOf(text)); });
    }
    ContextServant& root() { return *root_; }
    ContextServant& any() { return *any_; }

    test::FakeSurroundings::Script script_;
    std::vector<std::string> refused_;
    std::shared_ptr<ServedTree> tree_ = std::make_shared<ServedTree>(
        NamingSettings{
            toNamingPath("a.x/b/object"), {toNamingPath("a.x/alias"), toNamingPath("c/d")}, {}},
        std::make_unique<test::FakeSurroundings>(script_), [this](const RefusedChange& change) {
            refused_.push_back(change.operation + " " + change.name);
        });
    RootContext* root_ = new RootContext(tree_);
    AnyContext* any_ = new AnyContext(tree_);
    const PortableServer::ServantBase_var rootOwner_{root_};
    const PortableServer::ServantBase_var anyOwner_{any_};
};

TEST_F(ContextServantTest, ContextsAreResolvedToReferencesByTheirPath) {
    EXPECT_EQ(resolving("a.x"), "found");
    EXPECT_EQ(resolving("a.x/b"), "found");
    EXPECT_THAT(script_.contexts, ElementsAre("a.x", "a.x/b"));
}

TEST_F(ContextServantTest, ObjectThatIsNotBoundIsNotFound) {
    EXPECT_EQ(resolving("a.x/b/object"), "missing_node object");
    EXPECT_EQ(resolving("a.x/alias"), "missing_node alias");
    EXPECT_EQ(resolving("a.x/alias/more"), "missing_node alias/more");
}

TEST_F(ContextServantTest, RestOfANameIsAsTheCallerGaveIt) {
    EXPECT_EQ(resolving("a.x/nothing.k/more"), "missing_node nothing.k/more");
    script_.objectId = "a.x";
    EXPECT_EQ(notFound([&] { any().resolve(nameOf("b/nothing/more")); }),
              "missing_node nothing/more");
}

TEST_F(ContextServantTest, ContextIsThatOfTheObjectId) {
    script_.objectId = "a.x";
    any().resolve(nameOf("b"));
    EXPECT_THAT(script_.contexts, ElementsAre("a.x/b"));
    EXPECT_FALSE(any()._non_existent());
}

TEST_F(ContextServantTest, ObjectIdThatNamesNoContextDoesNotExist) {
    const std::vector<std::string> ids = {"",    "nothing", "a.x/b/object",         "a//b",
                                          "a\\", "//",      std::string("a.x\0", 4)};
    for (const std::string& id : ids) {
        script_.objectId = id;
        EXPECT_TRUE([&] {
            try {
                return any()._non_existent() != 0;
            } catch (const CORBA::OBJECT_NOT_EXIST&) {
                return true;
            }
        }()) << id;
        EXPECT_THROW(any().resolve(nameOf("b")), CORBA::OBJECT_NOT_EXIST) << id;
        CosNaming::BindingList_var list;
        CosNaming::BindingIterator_var iterator;
        EXPECT_THROW(any().list(1, list.out(), iterator.out()), CORBA::OBJECT_NOT_EXIST) << id;
    }
}

TEST_F(ContextServantTest, NamesBeyondTheBoundsAreInvalid) {
    EXPECT_THROW(root().resolve(CosNaming::Name()), NamingContext::InvalidName);
    CosNaming::Name deep;
    deep.length(101);
    EXPECT_THROW(root().resolve(deep), NamingContext::InvalidName);
    EXPECT_THROW(root().resolve(nameOf(std::string(8193, 'a').c_str())),
                 NamingContext::InvalidName);
    EXPECT_EQ(resolving(std::string(8192, 'a').c_str()), "missing_node " + std::string(8192, 'a'));
    EXPECT_THROW(root().to_string(deep), NamingContext::InvalidName);
    EXPECT_THROW(root().to_name(std::string(20000, 'a').c_str()), NamingContext::InvalidName);
    std::string many = "a";
    for (int i = 0; i < 100; ++i)
        many += "/a";
    EXPECT_THROW(root().to_name(many.c_str()), NamingContext::InvalidName);
}

TEST_F(ContextServantTest, NamesAndTheirTextsLeadToEachOther) {
    const CORBA::String_var text = root().to_string(nameOf("Kelp\\/EMS.x/3\\.5/."));
    EXPECT_STREQ(text.in(), "Kelp\\/EMS.x/3\\.5/.");
    CosNaming::Name_var name = root().to_name(text.in());
    ASSERT_EQ(name->length(), 3u);
    EXPECT_STREQ(name[0].id.in(), "Kelp/EMS");
    EXPECT_STREQ(name[1].id.in(), "3.5");
    EXPECT_STREQ(name[2].id.in(), "");
    for (const char* const wrong : {"", "/", "a/", "/a", "a//b", "a.b.c", "a\\b", "\\"}) {
        EXPECT_THROW(root().to_name(wrong), NamingContext::InvalidName) << wrong;
        EXPECT_THROW(root().resolve_str(wrong), NamingContext::InvalidName) << wrong;
        EXPECT_THROW(root().to_url(":ems", wrong), NamingContext::InvalidName) << wrong;
    }
}

TEST_F(ContextServantTest, UrlJoinsAddressAndEscapedName) {
    const CORBA::String_var url = root().to_url(":ems:4801/NameService", "Kelp\\/EMS.x/a b");
    EXPECT_STREQ(url.in(), "corbaname::ems:4801/NameService#Kelp%5c/EMS.x/a%20b");
    EXPECT_THROW(root().to_url("ems", "a"), CosNaming::NamingContextExt::InvalidAddress);
}

TEST_F(ContextServantTest, ListGivesContextsAndTheBoundObject) {
    CosNaming::BindingList_var list;
    CosNaming::BindingIterator_var iterator;
    script_.objectId = "a.x";
    any().list(10, list.out(), iterator.out());
    ASSERT_EQ(list->length(), 1u) << "the object is not bound";
    EXPECT_EQ(textOf(list[0].binding_name), "b");
    EXPECT_EQ(list[0].binding_type, CosNaming::ncontext);
    EXPECT_THAT(script_.iterators, IsEmpty()) << "nothing is left for one";
}

TEST_F(ContextServantTest, ListBeyondTheRequestedNumberContinuesInAnIterator) {
    CosNaming::BindingList_var list;
    CosNaming::BindingIterator_var iterator;
    root().list(1, list.out(), iterator.out());
    ASSERT_EQ(list->length(), 1u);
    ASSERT_EQ(script_.iterators.size(), 1u);
    BindingIterators* const servant = new BindingIterators(tree_);
    const PortableServer::ServantBase_var owner(servant);
    script_.objectId = script_.iterators.front();
    CosNaming::Binding_var binding;
    EXPECT_TRUE(servant->next_one(binding.out()));
    EXPECT_EQ(textOf(binding->binding_name), "c");
    EXPECT_FALSE(servant->next_one(binding.out()));
    EXPECT_EQ(binding->binding_name.length(), 1u) << "what an ORB can encode all the same";
    EXPECT_THROW(servant->next_n(0, list.out()), CORBA::BAD_PARAM);
    EXPECT_FALSE(servant->next_n(5, list.out()));
    EXPECT_EQ(list->length(), 0u);
    EXPECT_FALSE(servant->_non_existent());
    servant->destroy();
    EXPECT_TRUE(servant->_non_existent());
    EXPECT_THROW(servant->next_one(binding.out()), CORBA::OBJECT_NOT_EXIST);
    EXPECT_THROW(servant->next_n(1, list.out()), CORBA::OBJECT_NOT_EXIST);
    EXPECT_THROW(servant->destroy(), CORBA::OBJECT_NOT_EXIST);
}

TEST_F(ContextServantTest, OneReplyNeverHoldsMoreThanTheLimit) {
    tree_->change({toNamingPath("c/d"), toNamingPath("e/f"), toNamingPath("g")},
                  {2, 10, 10, std::chrono::seconds(9)});
    CosNaming::BindingList_var list;
    CosNaming::BindingIterator_var iterator;
    root().list(0xffffffff, list.out(), iterator.out());
    EXPECT_EQ(list->length(), 2u);
    EXPECT_EQ(script_.iterators.size(), 1u);
    root().list(0, list.out(), iterator.out());
    EXPECT_EQ(list->length(), 0u);
    EXPECT_EQ(script_.iterators.size(), 2u);
    tree_->change({}, {1, 10, 10, std::chrono::seconds(9)});
    BindingIterators* const servant = new BindingIterators(tree_);
    const PortableServer::ServantBase_var owner(servant);
    script_.objectId = script_.iterators.back();
    EXPECT_TRUE(servant->next_n(0xffffffff, list.out()));
    EXPECT_EQ(list->length(), 1u) << "the limit of now, the entries of then";
}

TEST_F(ContextServantTest, OutsidersAreRefusedAndReportedBeforeAnythingIsLookedAt) {
    script_.caller = "192.0.2.1";
    const CosNaming::Name valid = nameOf("a.x/b/object");
    const CosNaming::Name invalid;
    const auto nothing = CosNaming::NamingContext::_nil();
    for (const CosNaming::Name& name : {valid, invalid}) {
        EXPECT_THROW(root().bind(name, nothing), CORBA::NO_PERMISSION);
        EXPECT_THROW(root().rebind(name, nothing), CORBA::NO_PERMISSION);
        EXPECT_THROW(root().unbind(name), CORBA::NO_PERMISSION);
        EXPECT_THROW(root().bind_context(name, nothing), CORBA::NO_PERMISSION);
        EXPECT_THROW(root().rebind_context(name, nothing), CORBA::NO_PERMISSION);
        EXPECT_THROW(root().bind_new_context(name), CORBA::NO_PERMISSION);
    }
    EXPECT_THROW(root().new_context(), CORBA::NO_PERMISSION);
    EXPECT_THROW(root().destroy(), CORBA::NO_PERMISSION);
    EXPECT_THAT(
        refused_,
        ElementsAre("bind a.x/b/object", "rebind a.x/b/object", "unbind a.x/b/object",
                    "bind_context a.x/b/object", "rebind_context a.x/b/object",
                    "bind_new_context a.x/b/object", "bind ", "rebind ", "unbind ", "bind_context ",
                    "rebind_context ", "bind_new_context ", "new_context ", "destroy "));
}

TEST_F(ContextServantTest, ReportedNamesAreCut) {
    script_.caller = "192.0.2.1";
    CosNaming::Name name;
    name.length(10000);
    name[0].id = std::string(100000, 'a').c_str();
    EXPECT_THROW(root().unbind(name), CORBA::NO_PERMISSION);
    ASSERT_EQ(refused_.size(), 1u);
    EXPECT_EQ(refused_.front(), "unbind " + std::string(200, 'a'));
}

TEST_F(ContextServantTest, InsideNothingButTheObjectsOwnEntryCanBeChanged) {
    const auto nothing = CosNaming::NamingContext::_nil();
    EXPECT_THROW(root().bind(nameOf("c/d"), nothing), CORBA::NO_PERMISSION) << "an alias";
    EXPECT_THROW(root().rebind(nameOf("other"), nothing), CORBA::NO_PERMISSION);
    EXPECT_THROW(root().unbind(nameOf("c/d")), CORBA::NO_PERMISSION);
    EXPECT_THROW(root().unbind(nameOf("a.x")), CORBA::NO_PERMISSION);
    EXPECT_THROW(root().bind_new_context(nameOf("new")), CORBA::NO_PERMISSION);
    EXPECT_THROW(root().bind_new_context(nameOf("a.x")), NamingContext::AlreadyBound);
    EXPECT_THROW(root().bind_context(nameOf("a.x"), nothing), CORBA::NO_PERMISSION);
    EXPECT_THROW(root().rebind_context(nameOf("a.x"), nothing), CORBA::NO_PERMISSION);
    EXPECT_THROW(root().new_context(), CORBA::NO_PERMISSION);
    EXPECT_THROW(root().destroy(), CORBA::NO_PERMISSION);
    EXPECT_THROW(root().rebind(nameOf("a.x/b/object"), nothing), CORBA::BAD_PARAM);
    EXPECT_EQ(notFound([&] { root().unbind(nameOf("a.x/b/object")); }), "missing_node object");
    EXPECT_THAT(refused_, IsEmpty()) << "these are this process's own mistakes";
}

}  // namespace
}  // namespace kelp::naming
