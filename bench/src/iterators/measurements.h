#pragma once

#include <string>
#include <vector>

#include "common/report.h"
#include "iterators/options.h"
#include "iterators/stand.h"

namespace kelp::bench {

/// Lists of one kind. Each round uploads the next one.
struct Uploads {
    std::string what;  ///< the kind, such as "elements"
    std::vector<ListName> lists;
};

/// Measure objects a second with batches of the size `batch`, compared with the floor. Throws
/// std::runtime_error when product and floor do not return the same number of objects.
std::vector<Figure> measureRate(const Stand& stand, const Uploads& uploads, CORBA::ULong batch,
                                const UploadOptions& options);
/// Measure lists a second of lists that fit into the first answer.
std::vector<Figure> measureShortLists(const Stand& stand, const std::vector<ListName>& lists,
                                      const UploadOptions& options);
/// Measure objects a second for a client whose requests are in the byte order that is not this
/// machine's. The servers reply in their own, as GIOP lets them.
Figure measureOtherOrder(const Stand& stand, const Uploads& uploads, const UploadOptions& options);
/// Compare a batch in the last tenth of a list with one in its first tenth. The two iterators take
/// turns.
Figure measureEnds(const Stand& stand, const Uploads& uploads, const UploadOptions& options);
/// Measure an upload of every port of every element, from the product alone.
Figure measureWholeUpload(const Stand& stand, const std::string& name, CORBA::ULong batch);
/// Return how much the product's memory has grown since before the first upload.
Figure memoryGrowth(const Stand& stand, const std::string& name);

}  // namespace kelp::bench
