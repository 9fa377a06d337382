#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "Figures.h"

namespace fillstation::endurance {

// Figures after so many repetitions of something, printed as a table while they come in; and
// whether they are flat from the first of them on.
class Curve {
 public:
  // Begins the table; `counted` heads its first column.
  Curve(std::FILE* out, const std::string& counted);

  void add(int count, const Figures& figures);

  bool isEmpty() const { return all_.empty(); }

  // Whether nothing has grown from the first figures to these ones.
  bool holds(const Figures& now) const;

  // Prints what has grown between the first and the last figures; true when nothing has.
  bool isFlat() const;

 private:
  std::FILE* out_;
  std::vector<Figures> all_;
};

}  // namespace fillstation::endurance
