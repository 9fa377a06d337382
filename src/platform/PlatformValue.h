#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>

namespace fillstation {

// A value of a disk's description: a text, a whole number, or an address. Immutable; any thread.
class PlatformValue {
 public:
  static PlatformValue text(std::string value) { return PlatformValue(Text{std::move(value)}); }
  static PlatformValue number(std::int64_t value) { return PlatformValue(value); }
  // absoluteText is percent-encoded, so that it holds no comma and no brace.
  static PlatformValue url(std::string absoluteText) {
    return PlatformValue(Address{std::move(absoluteText)});
  }

  // The text of a text value, null for any other.
  const std::string* asText() const {
    const auto* held = std::get_if<Text>(&value_);
    return held != nullptr ? &held->value : nullptr;
  }

  // The number of a number value, null for any other.
  const std::int64_t* asNumber() const { return std::get_if<std::int64_t>(&value_); }

  // What a person would read in a listing. A text stands between the first two double quotes; an
  // address stands behind the first "= " after the first "{", and a comma ends it.
  std::string description() const {
    if (const auto* held = std::get_if<Text>(&value_)) {
      return "<text>{contents = \"" + held->value + "\"}";
    }
    if (const auto* held = std::get_if<Address>(&value_)) {
      return "<address>{string = " + held->value + ", base = none}";
    }
    return "<number>{value = " + std::to_string(std::get<std::int64_t>(value_)) + "}";
  }

 private:
  struct Text {
    std::string value;
  };
  struct Address {
    std::string value;
  };
  using Value = std::variant<Text, std::int64_t, Address>;

  explicit PlatformValue(Value value) : value_(std::move(value)) {}

  Value value_;
};

}  // namespace fillstation
