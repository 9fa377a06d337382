#pragma once

#include <string_view>

namespace fillstation {

// True when the left name comes before the right one in the order in which players are filled:
// byte by byte, but a run of decimal digits counts by its value, whatever its length ("2" before
// "10", "007" beside "7"). Names that are alike so far are ordered by their bytes. A strict total
// order that knows no locale.
bool namesInOrder(std::string_view left, std::string_view right);

}  // namespace fillstation
