#pragma once

#include <cos/CosNotifyFilter.h>

#include <atomic>
#include <memory>

namespace kelp::notification {

class ChannelCore;

/// The only grammar that is supported (Notification Service 2.4).
inline constexpr const char* kExtendedTcl = "EXTENDED_TCL";

/// Creates the filters of a channel, up to a limit. Mapping filters, which set priorities or
/// lifetimes, are not offered.
class FilterFactoryServant final : public POA_CosNotifyFilter::FilterFactory {
  public:
    explicit FilterFactoryServant(std::shared_ptr<ChannelCore> core) : core_(std::move(core)) {}

    /// Throws InvalidGrammar for any other grammar, and NO_RESOURCES if there are too many filters.
    CosNotifyFilter::Filter_ptr create_filter(const char* grammar) override;
    CosNotifyFilter::MappingFilter_ptr create_mapping_filter(
        const char* grammar, const CORBA::Any& defaultValue) override;

  private:
    const std::shared_ptr<ChannelCore> core_;
    const std::shared_ptr<std::atomic<int>> filters_ = std::make_shared<std::atomic<int>>(0);
};

}  // namespace kelp::notification
