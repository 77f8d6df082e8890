#pragma once

namespace NS_BUNDLEMGR1 {

struct ConfigDocument;

/// Adds a problem for every text that has not the form its key wants, and for values that do not go
/// together.
void checkTogether(ConfigDocument& document);

}  // namespace NS_BUNDLEMGR1
