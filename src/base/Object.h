#pragma once

#include <cstddef>
#include <functional>

namespace fillstation {

// Root of the model classes that are compared with objects of any kind. Plain equality is identity;
// a class with an identity of its own overrides both functions together. Any thread.
class Object {
 public:
  virtual ~Object() = default;

  // True when both are the same object, unless a class says otherwise.
  virtual bool isEqual(const Object& other) const { return this == &other; }

  // Equal objects hash alike.
  virtual std::size_t hash() const { return std::hash<const void*>{}(this); }

  friend bool operator==(const Object& left, const Object& right) { return left.isEqual(right); }

 protected:
  Object() = default;
  Object(const Object&) = default;
  Object& operator=(const Object&) = default;
};

}  // namespace fillstation
