#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace fillstation {

// A shared immutable signed 64-bit integer with an identity: copies of a Number are the same box,
// two Numbers made separately are different boxes even if their values are equal. A default-made
// Number is absent. Any thread may read a copy that it owns.
class Number {
 public:
  Number() = default;
  explicit Number(std::int64_t value) : box_(std::make_shared<const std::int64_t>(value)) {}

  // True unless the number is absent.
  explicit operator bool() const { return box_ != nullptr; }

  // The value; an absent number counts as 0.
  std::int64_t value() const { return box_ ? *box_ : 0; }

  // The value read as a flag; an absent number is false.
  bool isTrue() const { return value() != 0; }

  // True when both are the same box (or both absent); the values are ignored.
  bool isSame(const Number& other) const { return box_ == other.box_; }

  // True when this box's address, as an unsigned number, is higher than the other's; the values are
  // ignored.
  bool ordersAbove(const Number& other) const {
    return std::less<const void*>{}(other.box_.get(), box_.get());
  }

 private:
  std::shared_ptr<const std::int64_t> box_;
};

// The decimal text of the value, "(null)" when absent.
inline std::string textOf(const Number& number) {
  return number ? std::to_string(number.value()) : "(null)";
}

}  // namespace fillstation
