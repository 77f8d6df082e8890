#pragma once

#include <cos/CosNotifyFilter.h>

#include <atomic>
#include <memory>

namespace kelp::notification {

class ChannelCore;

/// The one grammar there is (Notification Service 2.4).
inline constexpr const char* kExtendedTcl = "EXTENDED_TCL";

/// Makes the filters of a channel, as many as a limit allows. Filters that set priorities or
/// lifetimes are not offered.
class FilterFactoryServant final : public POA_CosNotifyFilter::FilterFactory {
  public:
    explicit FilterFactoryServant(std::shared_ptr<ChannelCore> core) : core_(std::move(core)) {}

    /// InvalidGrammar for another grammar, NO_RESOURCES for one filter too many.
    CosNotifyFilter::Filter_ptr create_filter(const char* grammar) override;
    CosNotifyFilter::MappingFilter_ptr create_mapping_filter(
        const char* grammar, const CORBA::Any& defaultValue) override;

  private:
    const std::shared_ptr<ChannelCore> core_;
    const std::shared_ptr<std::atomic<int>> filters_ = std::make_shared<std::atomic<int>>(0);
};

}  // namespace kelp::notification
