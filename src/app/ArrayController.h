#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace fillstation {

// Holds a list of objects that the window shows, and tells the window about changes. Made with the
// window, and lives as long; held by std::shared_ptr. Main thread.
template <class T>
class ArrayController {
 public:
  using List = std::vector<std::shared_ptr<T>>;
  using Observer = std::function<void()>;

  // Without a list.
  ArrayController() = default;
  ArrayController(const ArrayController&) = delete;
  ArrayController& operator=(const ArrayController&) = delete;

  // The list, null if there is none. It never changes: every change makes a new one, so a walk over
  // it may add and remove.
  std::shared_ptr<const List> arrangedObjects() const { return arrangedObjects_; }
  void setArrangedObjects(List list) {
    arrangedObjects_ = std::make_shared<const List>(std::move(list));
    objectsChanged();
  }

  // A copy of the list, empty while there is none.
  List listed() const { return arrangedObjects_ ? *arrangedObjects_ : List(); }

  // Appends, even if an equal object is listed; makes the list if there is none.
  void addObject(std::shared_ptr<T> object) {
    List list = listed();
    list.push_back(std::move(object));
    setArrangedObjects(std::move(list));
  }

  // Removes every object that is equal to this one. There must be a list.
  void removeObject(const T& object) {
    List list = *arrangedObjects_;
    std::erase_if(list, [&object](const auto& listed) { return listed->isEqual(object); });
    setArrangedObjects(std::move(list));
  }

  // True when there is a list and it has an object that is equal to this one.
  bool contains(const T& object) const {
    const List list = listed();
    return std::any_of(list.begin(), list.end(),
                       [&object](const auto& listed) { return listed->isEqual(object); });
  }

  // Called after each change of the list and by objectsChanged(); one observer.
  void setObserver(Observer observer) { observer_ = std::move(observer); }

  // To be called when properties of the objects themselves may have changed.
  void objectsChanged() const {
    if (observer_) {
      observer_();
    }
  }

 private:
  std::shared_ptr<const List> arrangedObjects_;
  Observer observer_;
};

}  // namespace fillstation
