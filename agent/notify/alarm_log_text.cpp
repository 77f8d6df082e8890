#include "notify/alarm_log_text.h"

#include <kelp/corbabase/supplier_mgr.h>
#include <mtnm/globaldefs.h>
#include <mtnm/notifications.h>

#include <map>
#include <optional>
#include <sstream>
#include <string>

namespace NS_KELPCORBA {
namespace {

using NS_CORBA::SuppilerMgr;

/// The properties of an event by name. When a name occurs twice the first one counts. The values
/// stay in the event.
class FieldIndex {
  public:
    explicit FieldIndex(const CosNotification::PropertySeq& properties) {
        for (CORBA::ULong i = 0; i < properties.length(); ++i)
            fields_.emplace(properties[i].name.in(), &properties[i].value);
    }

    /// Return the text: empty when the field is missing, none when it has another type.
    std::optional<std::string> text(const char* name) const {
        const CORBA::Any* any = find(name);
        if (any == nullptr)
            return std::string();
        const char* value = nullptr;
        if (!(*any >>= value) || value == nullptr)
            return std::nullopt;
        return std::string(value);
    }
    /// 0 for a missing one and for one of another type.
    template <class Value>
    int number(const char* name) const {
        const CORBA::Any* any = find(name);
        Value value{};
        return any != nullptr && (*any >>= value) ? static_cast<int>(value) : 0;
    }
    /// Null for a missing one and for one of another type.
    const globaldefs::NVSList_T* list(const char* name) const {
        const CORBA::Any* any = find(name);
        const globaldefs::NVSList_T* value = nullptr;
        return any != nullptr && (*any >>= value) ? value : nullptr;
    }

  private:
    const CORBA::Any* find(const char* name) const {
        const auto found = fields_.find(name);
        return found == fields_.end() ? nullptr : found->second;
    }
    std::map<std::string, const CORBA::Any*> fields_;
};

void formatPairs(const globaldefs::NVSList_T& pairs, std::ostream& out) {
    for (CORBA::ULong i = 0; i < pairs.length(); ++i)
        SuppilerMgr::FormatLog(std::string(pairs[i].name.in()), std::string(pairs[i].value.in()),
                               out);
}

/// Formats the entries of one alarm in the order of the calls.
class AlarmFormatter {
  public:
    AlarmFormatter(const CosNotification::StructuredEvent& event, std::ostream& out)
        : fields_(event.filterable_data), out_(out) {}

    void text(const char* name) {
        if (const std::optional<std::string> value = fields_.text(name))
            SuppilerMgr::FormatLog(name, *value, out_);
    }
    template <class Value>
    void number(const char* name) {
        if (const int value = fields_.number<Value>(name))
            SuppilerMgr::FormatLog(name, value, out_);
    }
    void fixed(const char* name, const char* value) {
        SuppilerMgr::FormatLog(name, std::string(value), out_);
    }
    void objectName(const char* name) {
        std::stringstream rendered;
        if (const globaldefs::NVSList_T* pairs = fields_.list(name))
            formatPairs(*pairs, rendered);
        SuppilerMgr::FormatLog(name, rendered.str(), out_);
    }
    /// An empty list is rendered as one blank, a missing one as an empty text.
    void additionalInfo(const char* name) {
        std::stringstream rendered;
        if (const globaldefs::NVSList_T* pairs = fields_.list(name)) {
            rendered.str(" ");
            formatPairs(*pairs, rendered);
        }
        SuppilerMgr::FormatLog(name, rendered.str(), out_);
    }

  private:
    const FieldIndex fields_;
    std::ostream& out_;
};

}  // namespace

void formatAlarmLog(std::ostream& out, const CosNotification::StructuredEvent& event) {
    AlarmFormatter entries(event, out);
    entries.objectName("objectName");
    entries.text("nativeEMSName");
    entries.text("nativeProbableCause");
    entries.number<notifications::ObjectType_T>("objectType");
    entries.text("emsTime");
    entries.text("neTime");
    entries.fixed("isClearable", "TRUE");  // regardless of the alarm's own value
    entries.number<CORBA::Short>("layerRate");
    entries.text("probableCause");
    entries.text("probableCauseQualifier");
    entries.number<notifications::PerceivedSeverity_T>("perceivedSeverity");
    entries.number<notifications::ServiceAffecting_T>("serviceAffecting");
    entries.fixed("affectedTPList", "");  // the list is never rendered
    entries.text("additionalText");
    entries.additionalInfo("additionalInfo");
    entries.text("X.733::EventType");
    entries.text("objectTypeQualifier");
}

}  // namespace NS_KELPCORBA
