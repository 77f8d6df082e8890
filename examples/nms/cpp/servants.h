#pragma once

#include <cos/CosNotifyComm.h>
#include <mtnm/nmsSession.h>

#include <cstring>
#include <iostream>
#include <memory>
#include <utility>

#include "alarm_list.h"
#include "alarm_texts.h"
#include "news.h"

// [session]
/// What the EMS calls. A new object for each log-in, so that a call for an old session does not hit
/// the new one.
class Session final : public POA_nmsSession::NmsSession_I {
  public:
    explicit Session(std::shared_ptr<News> news) : news_(std::move(news)) {}

    void ping() override {}
    void endSession() override { news_->put("the EMS has ended the session"); }
    void eventLossOccurred(const char* startTime, const char*) override {
        std::cerr << "events are lost since " << startTime << std::endl;
    }
    void eventLossCleared(const char*) override { news_->put("read"); }
    void alarmLossOccurred(const char*, const char*) override {}
    session::Session_I_ptr associatedSession() override { return session::Session_I::_nil(); }

  private:
    const std::shared_ptr<News> news_;
};
// [end]

// [consumer]
/// Receives the events. It returns soon, because the EMS sends the next event when this one is
/// answered.
class Consumer final : public POA_CosNotifyComm::StructuredPushConsumer {
  public:
    Consumer(std::shared_ptr<AlarmList> alarms, std::shared_ptr<News> news)
        : alarms_(std::move(alarms)), news_(std::move(news)) {}

    void push_structured_event(const CosNotification::StructuredEvent& event) override {
        news_->heard();
        const char* const type = event.header.fixed_header.event_type.type_name;
        if (std::strcmp(type, "NT_ALARM") == 0 && alarms_->event(fieldsOf(event)))
            news_->putIfEmpty("changed");
    }
    void disconnect_structured_push_consumer() override {
        news_->put("the EMS has dropped the consumer");
    }
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

  private:
    const std::shared_ptr<AlarmList> alarms_;
    const std::shared_ptr<News> news_;
};
// [end]
