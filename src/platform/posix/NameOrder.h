#pragma once

#include <string>
#include <string_view>

namespace fillstation {

// Appends the name's sort key: players are filled in the order of the keys' bytes. In it, case and
// accents don't count, and a run of decimal digits counts by its value ("2" before "10"); names
// that are alike so far are ordered by their bytes ("007" before "7"). So no two names have the
// same key. Knows no locale; a name that is not UTF-8 is taken for Latin 1.
void appendSortKey(std::string_view name, std::string& keys);

}  // namespace fillstation
