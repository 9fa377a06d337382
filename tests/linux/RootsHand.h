#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace fillstation::contract {

// The hands as root that the box of tests/vm lends to a program in it: guest/helper.py, listening
// at a socket. There are none on any other machine.
class RootsHand {
 public:
  static bool isThere();

  // Asks for one of the helper's operations and waits; null, and the test has failed, when it could
  // not be done.
  static nlohmann::json ask(const std::string& operation, const nlohmann::json& arguments,
                            const nlohmann::json& named = nlohmann::json::object());
};

}  // namespace fillstation::contract
