#include "TaskRecord.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "Platform.h"

namespace fillstation {
namespace {

// The names that fillstation-report uses.
constexpr std::array<std::pair<Step, const char*>, 7> kSteps{{{Step::kUnmount, "unmount"},
                                                              {Step::kWipe, "wipe"},
                                                              {Step::kFormat, "format"},
                                                              {Step::kMount, "mount"},
                                                              {Step::kCopy, "copy"},
                                                              {Step::kFlush, "flush"},
                                                              {Step::kCheck, "check"}}};

std::string textOfSeconds(double seconds) {
  std::array<char, 32> text{};
  // Whole numbers of thousandths: a locale may have another decimal separator.
  const long long thousandths = std::llround(seconds * 1000);
  std::snprintf(text.data(), text.size(), "%lld.%03lld", thousandths / 1000, thousandths % 1000);
  return text.data();
}

std::string inCapitals(std::string text) {
  for (char& letter : text) {
    letter = static_cast<char>(letter - 'a' + 'A');
  }
  return text;
}

}  // namespace

void TaskRecord::begin(Step step) {
  const auto now = platform().clock->now();
  if (step_ != Step::kWaiting) {
    seconds_[step_] += now - begun_;
  }
  begun_ = now;
  step_ = step;
}

void TaskRecord::fail(VolumeFailure failure) {
  if (!failedStep_) {
    failedStep_ = step_;
    failure_ = std::move(failure);
  }
}

LogFields TaskRecord::fields() const {
  LogFields fields{{"PORT", place_.port}, {"SLOT", place_.slot}, {"LINK", place_.speed}};
  for (const auto& [step, name] : kSteps) {
    if (const auto took = seconds_.find(step); took != seconds_.end()) {
      fields.emplace_back(inCapitals(name), textOfSeconds(took->second.count()));
    }
    if (failedStep_ == step) {
      fields.emplace_back("STEP", name);
    }
  }
  fields.emplace_back("RESULT", failedStep_ ? "failed" : "filled");
  if (!failure_.path.empty()) {
    fields.emplace_back("FILE", failure_.path);
  }
  if (failure_.error != 0) {
    fields.emplace_back("ERRNO", std::to_string(failure_.error));
  }
  return fields;
}

}  // namespace fillstation
