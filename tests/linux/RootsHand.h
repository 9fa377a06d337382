#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <string>

namespace fillstation::contract {

// The hands as root that the box of tests/vm lends to a program in it: guest/helper.py, listening
// at a socket. There are none on any other machine.
class RootsHand {
 public:
  static bool isThere();

  // Asks for one of the helper's operations and waits; null, and the test has failed, when it could
  // not be done.
  static QJsonValue ask(const std::string& operation, const QJsonArray& arguments,
                        const QJsonObject& named = {});
};

}  // namespace fillstation::contract
