#include <kelp/nms/list_walk.h>

namespace kelp::nms {

namespace {

/// An EMS may return fewer entries than requested, even none. This limit keeps an EMS that returns
/// none for ever from blocking the NMS.
constexpr unsigned kEmptyBatchesMax = 100;

}  // namespace

void ListCount::came(CORBA::ULong length, CORBA::ULong asked, bool isMore) {
    entries_ += length;
    if (length > asked && !std::exchange(hasOverlongBatch_, true))
        remark("the EMS gave " + std::to_string(length) + " entries when " + std::to_string(asked) +
               " at most were asked for");
    emptyBatches_ = length == 0 && isMore ? emptyBatches_ + 1 : 0;
    if (emptyBatches_ > kEmptyBatchesMax)
        throw NmsError(doing_ + ": the EMS says that more entries follow, but gave none in " +
                       std::to_string(kEmptyBatchesMax) + " batches");
}

void ListCount::noLength(const globaldefs::ProcessingFailureException& raised) {
    if (raised.exceptionType != globaldefs::EXCPT_CAPACITY_EXCEEDED)
        remark(ProcessingFailure("getLength", raised).what() +
               std::string("; entries cannot be counted"));
}

void ListCount::ended() {
    if (!total_ || *total_ == entries_)
        return;
    isDoubtful_ = true;
    remark("the EMS said there are " + std::to_string(*total_) + " entries, but " +
           std::to_string(entries_) + " came");
}

bool ListCount::maybeThere(const CORBA::SystemException& raised) {
    return CORBA::OBJECT_NOT_EXIST::_downcast(&raised) == nullptr &&
           CORBA::OBJ_ADAPTER::_downcast(&raised) == nullptr &&
           CORBA::COMM_FAILURE::_downcast(&raised) == nullptr &&
           CORBA::TRANSIENT::_downcast(&raised) == nullptr &&
           CORBA::TIMEOUT::_downcast(&raised) == nullptr;
}

}  // namespace kelp::nms
