#pragma once

#include <string>
#include <vector>

#include "common/report.h"
#include "iterators/options.h"
#include "iterators/stand.h"

namespace kelp::bench {

/// Lists of one kind, of which each round takes the next one.
struct Uploads {
    std::string what;  ///< "elements"
    std::vector<ListName> lists;
};

/// Objects a second by batches of a size, beside the floor; throws std::runtime_error when the two
/// do not give as many.
std::vector<Figure> measureRate(const Stand& stand, const Uploads& uploads, CORBA::ULong batch,
                                const UploadOptions& options);
/// Lists a second that come whole with the first answer.
std::vector<Figure> measureShortLists(const Stand& stand, const std::vector<ListName>& lists,
                                      const UploadOptions& options);
/// A batch in the last tenth of a list beside one in its first, of iterators that take turns.
Figure measureEnds(const Stand& stand, const Uploads& uploads, const UploadOptions& options);
/// Every port of every element once, from the product alone.
Figure measureWholeUpload(const Stand& stand, const std::string& name, CORBA::ULong batch);
/// How much more memory the product took than before the first upload.
Figure memoryGrowth(const Stand& stand, const std::string& name);

}  // namespace kelp::bench
