#pragma once

namespace fillstation {

// The view of the file list, as the list needs it. Main thread.
class TableView {
 public:
  virtual ~TableView() = default;

  // Asks the row count and every visible cell again.
  virtual void reloadData() = 0;
};

}  // namespace fillstation
