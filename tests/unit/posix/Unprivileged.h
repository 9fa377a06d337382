#pragma once

#include <unistd.h>

namespace fillstation::test {

// Gives up root's rights for its lifetime, so that permissions have an effect for every user.
class Unprivileged {
 public:
  Unprivileged() : before_(::geteuid()) {
    if (before_ == 0 && ::seteuid(kNobody) != 0) {
      ::_exit(97);
    }
  }
  ~Unprivileged() {
    if (before_ == 0 && ::seteuid(0) != 0) {
      ::_exit(97);
    }
  }
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;
  uid_t before_;
};

}  // namespace fillstation::test
