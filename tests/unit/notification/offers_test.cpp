#include "event_types/offers.h"

#include <gtest/gtest.h>

#include "event_types.h"
#include "event_types/change_notices.h"

namespace kelp::notification {
namespace {

using test::types;

const TypeName kTypeA("d", "A");
const TypeName kTypeB("d", "B");

class OffersTogether : public testing::Test {
  protected:
    static CosNotification::EventTypeSeq one(const TypeName& name) {
        return types({{name.first.c_str(), name.second.c_str()}});
    }
    TypeSet together() const { return followed_->types(); }

    ChangeNotices notices_{std::chrono::milliseconds(100)};
    std::shared_ptr<FollowedTypes> followed_ =
        std::make_shared<FollowedTypes>(notices_, allTypes());
    Offers offers_{followed_};
    Offers::OffererId first_ = offers_.enter();
    Offers::OffererId second_ = offers_.enter();
};

TEST_F(OffersTogether, AreEveryTypeWhileNobodyOffersAny) {
    EXPECT_EQ(together(), allTypes());
    offers_.change(first_, one(kTypeA), {});
    EXPECT_EQ(together(), TypeSet({kTypeA}));
    offers_.change(first_, {}, one(kTypeA));
    EXPECT_EQ(together(), allTypes());
}

TEST_F(OffersTogether, ContainATypeUntilTheLastSupplierWithdrawsIt) {
    offers_.change(first_, one(kTypeA), {});
    offers_.change(second_, one(kTypeA), {});
    offers_.change(second_, one(kTypeB), {});
    offers_.change(first_, {}, one(kTypeA));
    EXPECT_EQ(together(), TypeSet({kTypeA, kTypeB}));
    offers_.change(second_, {}, one(kTypeA));
    EXPECT_EQ(together(), TypeSet({kTypeB}));
}

TEST_F(OffersTogether, AreNotWithdrawnByASupplierThatDidNotMakeThem) {
    offers_.change(first_, one(kTypeA), {});
    offers_.change(second_, {}, one(kTypeA));
    EXPECT_EQ(together(), TypeSet({kTypeA}));
}

TEST_F(OffersTogether, LoseThoseOfASupplierThatLeaves) {
    offers_.change(first_, one(kTypeA), {});
    offers_.change(second_, one(kTypeB), {});
    offers_.leave(first_);
    EXPECT_EQ(together(), TypeSet({kTypeB}));
    EXPECT_THROW(offers_.change(first_, one(kTypeA), {}), CORBA::OBJECT_NOT_EXIST);
    offers_.leave(first_);
    EXPECT_EQ(together(), TypeSet({kTypeB}));
}

TEST_F(OffersTogether, AreEveryTypeWhenOneOffersThat) {
    offers_.change(first_, one(kTypeA), {});
    offers_.change(second_, one(*allTypes().begin()), {});
    offers_.change(second_, one(kTypeB), {});
    EXPECT_EQ(together(), allTypes());
    offers_.leave(second_);
    EXPECT_EQ(together(), TypeSet({kTypeA}));
}

TEST_F(OffersTogether, StayAsTheyAreAfterAnInvalidChange) {
    offers_.change(first_, one(kTypeA), {});
    EXPECT_THROW(offers_.change(first_, types({{"d", "B"}, {"d", ""}}), one(kTypeA)),
                 CosNotifyComm::InvalidEventType);
    EXPECT_EQ(together(), TypeSet({kTypeA}));
}

}  // namespace
}  // namespace kelp::notification
