#pragma once

namespace NS_BUNDLEMGR1 {

struct ConfigDocument;

/// Add a problem for every text that does not have the form of its key, and for values that exclude
/// each other.
void checkTogether(ConfigDocument& document);

}  // namespace NS_BUNDLEMGR1
