#include <gtest/gtest.h>

#include <QApplication>
#include <QFont>
#include <cstdlib>

#include "Languages.h"
#include "OpenPanel.h"
#include "TempFolder.h"
#include "WindowStyle.h"

// Tests of the window: GoogleTest with an application object, in a home folder of their own.
int main(int argc, char** argv) {
  const fillstation::test::TempFolder home;
  ::setenv("HOME", home.path().c_str(), 1);
  ::unsetenv("XDG_CONFIG_HOME");
  ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
  fillstation::OpenPanel::keepSettingsAway();
  QApplication application(argc, argv);
  // Widths and shapes don't depend on the fonts of the machine.
  QFont font = QApplication::font();
  font.setFamilies({QStringLiteral("DejaVu Sans")});
  QApplication::setFont(font);
  fillstation::speak({});
  QApplication::setStyle(new fillstation::WindowStyle);
  QApplication::setQuitOnLastWindowClosed(false);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
