#include <QAccessible>
#include <QLineEdit>

#include "WindowTest.h"

namespace fillstation::test {
namespace {

class AccessibilityTest : public WindowTest {
 protected:
  AccessibilityTest() { launch(); }

  static QAccessibleInterface& of(QWidget* widget) {
    return *QAccessible::queryAccessibleInterface(widget);
  }
  static std::string name(QWidget* widget) {
    return of(widget).text(QAccessible::Name).toStdString();
  }
  static std::string description(QWidget* widget) {
    return of(widget).text(QAccessible::Description).toStdString();
  }
};

TEST_F(AccessibilityTest, EveryControlHasANameAndItsRole) {
  addPlayer("sdb");
  struct Control {
    QWidget* widget;
    const char* name;
    QAccessible::Role role;
  };
  const Control controls[] = {
      {ui().btnAll, "All", QAccessible::Button},
      {ui().btnNone, "None", QAccessible::Button},
      {ui().btnEject, "Eject", QAccessible::Button},
      {ui().btnBrowse, "Browse…", QAccessible::Button},
      {ui().btnStart, "Start", QAccessible::Button},
      {ui().tirellLinkBtn, "Home page", QAccessible::Button},
      {ui().lstFiles, "Files", QAccessible::Table},
      {ui().pbProgressBar, "Progress of all players", QAccessible::ProgressBar},
      {ui().pbCircle, "Players are being filled", QAccessible::Animation},
      {tick(0), "/dev/sdb (SONGS)", QAccessible::CheckBox},
      {panelUi().userNameField, "User name:", QAccessible::EditableText},
      {panelUi().passwordField, "Password:", QAccessible::EditableText},
      {panelUi().btnPassOk, "OK", QAccessible::Button},
      {panelUi().btnPassCancel, "Cancel", QAccessible::Button},
  };
  for (const auto& control : controls) {
    EXPECT_EQ(name(control.widget), control.name);
    EXPECT_EQ(of(control.widget).role(), control.role) << control.name;
  }
}

// A box is called by the label beside it; its own name is what stands in it.
TEST_F(AccessibilityTest, TheFileTypeIsLabelled) {
  EXPECT_EQ(of(ui().cmbFileType).role(), QAccessible::ComboBox);
  EXPECT_EQ(name(ui().cmbFileType), "mp3");
  Texts labels;
  for (const auto& relation : of(ui().cmbFileType).relations(QAccessible::Label)) {
    labels.push_back(relation.first->text(QAccessible::Name).toStdString());
  }
  // The label, and the box around them.
  EXPECT_EQ(labels, (Texts{"File type:", "Files"}));
}

TEST_F(AccessibilityTest, WhateverTakesTheKeyboardHasAName) {
  addPlayer("sdb");
  for (QWidget* top :
       {static_cast<QWidget*>(&windows->window()), static_cast<QWidget*>(&windows->panel())}) {
    for (auto* widget : top->findChildren<QWidget*>()) {
      if ((widget->focusPolicy() & Qt::TabFocus) != 0 && widget->focusProxy() == nullptr &&
          widget->isVisibleTo(top) && qobject_cast<QComboBox*>(widget->parentWidget()) == nullptr) {
        EXPECT_NE(name(widget), "")
            << widget->metaObject()->className() << ' ' << widget->objectName().toStdString();
      }
    }
  }
}

TEST_F(AccessibilityTest, APlayerAnnouncesNamePlaceAndTick) {
  const auto player = addPlayer("sdb", 7948206080, true);
  EXPECT_EQ(name(tick(0)), "/dev/sdb (SONGS)");
  EXPECT_NE(description(tick(0)).find("7580 MB"), std::string::npos) << description(tick(0));
  EXPECT_TRUE(of(tick(0)).state().checked);
  player->setSelected(Number(0));
  windows->players()->objectsChanged();
  EXPECT_FALSE(of(tick(0)).state().checked);
}

// Such a program doesn't click: it has the tick box do what it offers.
TEST_F(AccessibilityTest, ATickThatAnAssistiveProgramTogglesIsThePlayers) {
  const auto player = addPlayer("sdb");
  for (const int selected : {1, 0}) {
    ports.log.clear();
    of(tick(0)).actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(player->selected().value(), selected);
    EXPECT_EQ(of(tick(0)).state().checked, selected);
    EXPECT_EQ(logTexts().size(), 2U);
    EXPECT_EQ(ui().lblMaxCapSize->text(), QLatin1String(selected == 1 ? "7580 MB" : "0 KB"));
  }
}

TEST_F(AccessibilityTest, ALongNameIsAnnouncedWhole) {
  const auto player = addPlayer("sdb");
  player->setName(std::string(200, 'n'));
  windows->players()->objectsChanged();
  EXPECT_EQ(name(tick(0)), std::string(200, 'n'));
}

TEST_F(AccessibilityTest, APlayerWithoutANameIsAnnouncedByItsPlace) {
  const auto player = addPlayer("sdb");
  player->setName(std::nullopt);
  windows->players()->objectsChanged();
  EXPECT_NE(name(tick(0)).find("/dev/sdb"), std::string::npos) << name(tick(0));
}

TEST_F(AccessibilityTest, TheProgressHasItsValue) {
  ui().pbProgressBar->setValue(42);
  EXPECT_EQ(of(ui().pbProgressBar).valueInterface()->currentValue().toInt(), 42);
  EXPECT_EQ(of(ui().pbProgressBar).valueInterface()->maximumValue().toInt(), 100);
}

TEST_F(AccessibilityTest, TheIndicatorIsBusyAsLongAsItTurns) {
  EXPECT_FALSE(of(ui().pbCircle).state().busy);
  ui().pbCircle->startAnimation();
  EXPECT_TRUE(of(ui().pbCircle).state().busy);
  ui().pbCircle->stopAnimation();
  EXPECT_FALSE(of(ui().pbCircle).state().busy);
}

}  // namespace
}  // namespace fillstation::test
