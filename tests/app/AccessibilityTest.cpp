#include <QAbstractItemView>
#include <QAccessible>
#include <QLineEdit>

#include "ModalSession.h"
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
  static Texts labels(QAccessibleInterface& node) {
    Texts names;
    for (const auto& relation : node.relations(QAccessible::Label)) {
      names.push_back(relation.first->text(QAccessible::Name).toStdString());
    }
    return names;
  }

  // All focusable objects in the tree of a window, except those that never show.
  static void collect(QAccessibleInterface& node, std::vector<QAccessibleInterface*>& found) {
    const auto* widget = qobject_cast<QWidget*>(node.object());
    if (widget != nullptr && !widget->isWindow() && widget->isHidden()) {
      return;
    }
    const bool isCell = node.role() == QAccessible::TreeItem;  // which may be empty
    if (node.state().focusable && !isCell) {
      found.push_back(&node);
    }
    for (int at = 0; at < node.childCount(); ++at) {
      collect(*node.child(at), found);
    }
  }

  // The label beside a combo box is its name; the accessible name is its contents.
  static void expectNames(const QWidget& window, std::size_t atLeast) {
    std::vector<QAccessibleInterface*> found;
    collect(of(const_cast<QWidget*>(&window)), found);
    EXPECT_GE(found.size(), atLeast);
    for (QAccessibleInterface* node : found) {
      const bool isBox = node->role() == QAccessible::ComboBox;
      const std::string called =
          isBox ? (labels(*node) + Texts{""}).front() : node->text(QAccessible::Name).toStdString();
      EXPECT_NE(called, "") << node->object() << " of the role " << node->role();
    }
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

// The label beside a combo box is its name; the accessible name is its contents.
TEST_F(AccessibilityTest, TheFileTypeAndTheFiguresAreLabelled) {
  EXPECT_EQ(of(ui().cmbFileType).role(), QAccessible::ComboBox);
  EXPECT_EQ(name(ui().cmbFileType), "mp3");
  // The label, and the box around them.
  EXPECT_EQ(labels(of(ui().cmbFileType)), (Texts{"File type:", "Files"}));
  EXPECT_EQ(name(ui().cmbFileType->lineEdit()), "File type");
  EXPECT_EQ(name(ui().cmbFileType->view()), "File types");
  EXPECT_EQ(labels(of(ui().lblMaxCapSize)), (Texts{"Capacity:", "Files"}));
  EXPECT_EQ(labels(of(ui().lblFreeDiskSpaceLeft)), (Texts{"Space left:", "Files"}));
}

TEST_F(AccessibilityTest, EveryFocusableControlHasAName) {
  addPlayer("sdb");
  addRoot("/a", 1);
  expectNames(windows->window(), 16);
  expectNames(windows->panel(), 4);
  expectNames(Alert(nullptr, QStringLiteral("Text")), 2);
  expectNames(Alert(nullptr, QStringLiteral("Line\n").repeated(20)), 2);
  OpenPanel panel(&windows->window(), "mp3", QDir::rootPath());
  panel.show();
  waitForActive(panel);
  expectNames(panel, 14);
}

TEST_F(AccessibilityTest, ControlsThatNeedItHaveADescription) {
  EXPECT_EQ(description(ui().lstFiles),
            "The folders to copy, in this order. Delete removes the selected rows.");
  EXPECT_EQ(description(ui().lblMaxCapSize), "The size of one ticked player");
  EXPECT_EQ(description(ui().lblFreeDiskSpaceLeft),
            "Free space after copying. A 20-digit number means that the files don't fit.");
  for (QWidget* control :
       std::initializer_list<QWidget*>{ui().btnAll, ui().btnNone, ui().btnEject, ui().btnBrowse,
                                       ui().btnStart, ui().tirellLinkBtn, ui().cmbFileType}) {
    EXPECT_EQ(description(control), control->toolTip().toStdString());
    EXPECT_NE(description(control), "") << name(control);
  }
}

TEST_F(AccessibilityTest, APlayerAnnouncesNamePlaceAndTick) {
  const auto player = addPlayer("sdb", 7948206080, true);
  EXPECT_EQ(name(tick(0)), "/dev/sdb (SONGS)");
  EXPECT_EQ(description(tick(0)), "USB  · 7580 MB");
  // The second line is no more than that either; its tool tip has marks for line breaks in it.
  EXPECT_EQ(description(ui().viewPlayers->findChild<ElidedLabel*>()), description(tick(0)));
  EXPECT_TRUE(of(tick(0)).state().checked);
  player->setSelected(Number(0));
  player->setName(std::nullopt);
  windows->players()->objectsChanged();
  EXPECT_FALSE(of(tick(0)).state().checked);
  EXPECT_EQ(name(tick(0)), description(tick(0)));
}

// A screen reader doesn't click: it calls the tick box's action.
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

TEST_F(AccessibilityTest, TheIndicatorIsBusyAsLongAsItTurns) {
  EXPECT_FALSE(of(ui().pbCircle).state().busy);
  ui().pbCircle->startAnimation();
  EXPECT_TRUE(of(ui().pbCircle).state().busy);
  ui().pbCircle->stopAnimation();
  EXPECT_FALSE(of(ui().pbCircle).state().busy);
}

}  // namespace
}  // namespace fillstation::test
