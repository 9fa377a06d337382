#include "WindowTest.h"

namespace fillstation::test {
namespace {

// Counts those that are kept awake.
class TestWakefulness : public Wakefulness {
 public:
  std::shared_ptr<void> keepAwake(const std::string& why) override {
    reasons.push_back(why);
    ++held;
    return {nullptr, [this](void*) { --held; }};
  }

  Texts reasons;
  int held = 0;
};

class WakefulnessTest : public WindowTest {
 protected:
  WakefulnessTest() {
    launch();
    platform().wakefulness = &wakefulness;
  }

  void startAs(const char* userName, const char* password) {
    click(ui().btnStart);
    panelUi().userNameField->setText(QString::fromLatin1(userName));
    panelUi().passwordField->setText(QString::fromLatin1(password));
  }

  TestWakefulness wakefulness;
};

TEST_F(WakefulnessTest, TheMachineIsKeptAwakeForAsLongAsTheRunLasts) {
  startAs("admin", "secret");
  EXPECT_EQ(wakefulness.held, 0);
  int heldInSummary = -1;
  whenever([&] {
    if (alert() == nullptr) {
      return false;
    }
    heldInSummary = wakefulness.held;
    click(alert()->button(QMessageBox::Ok));
    return true;
  });
  click(panelUi().btnPassOk);
  EXPECT_EQ(wakefulness.held, 1);
  EXPECT_EQ(wakefulness.reasons, Texts{"Players are being filled"});
  runUntil([&] { return ui().btnStart->isEnabled(); });
  EXPECT_EQ(heldInSummary, 0);
}

TEST_F(WakefulnessTest, RefusedCredentialsKeepNothingAwake) {
  startAs("", "");
  whenever([] {
    QMessageBox* const box = alert();
    if (box != nullptr) {
      box->accept();
    }
    return box != nullptr;
  });
  click(panelUi().btnPassOk);
  EXPECT_TRUE(wakefulness.reasons.empty());
}

}  // namespace
}  // namespace fillstation::test
