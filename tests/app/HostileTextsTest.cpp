#include "HostileTexts.h"

#include <QAccessible>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QScreen>
#include <QTextDocument>
#include <QTreeView>
#include <filesystem>

#include "DisplayText.h"
#include "ModalSession.h"
#include "OpenPanel.h"
#include "TempFolder.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

// It has no effect on its surroundings.
bool isHarmless(const QString& text) {
  const std::set<QChar::Direction> turning{QChar::DirLRE, QChar::DirLRO, QChar::DirRLE,
                                           QChar::DirRLO, QChar::DirPDF, QChar::DirLRI,
                                           QChar::DirRLI, QChar::DirFSI, QChar::DirPDI};
  const std::set<QChar::Category> breaking{QChar::Other_Control, QChar::Separator_Line,
                                           QChar::Separator_Paragraph};
  const QString marks = QString::fromUtf8("\u200E\u200F\u061C");
  return std::none_of(text.begin(), text.end(), [&](QChar unit) {
    return turning.contains(unit.direction()) || breaking.contains(unit.category()) ||
           marks.contains(unit);
  });
}

// The text that a tool tip shows, without the places where its lines may break.
QString shownTip(const QString& tip) {
  EXPECT_TRUE(Qt::mightBeRichText(tip)) << "the tool tip guesses what it is";
  QTextDocument document;
  document.setHtml(tip);
  document.setTextWidth(1);
  const QFontMetrics metrics(document.defaultFont());
  EXPECT_LE(document.idealWidth(), metrics.horizontalAdvance(QString(61, QLatin1Char('W'))));
  return document.toPlainText().remove(QLatin1Char('\n'));
}

QString accessibleName(QObject* object) {
  return QAccessible::queryAccessibleInterface(object)->text(QAccessible::Name);
}

// Every place of the window where a text of a device or a file is shown, once for each text.
class HostileTextsTest : public WindowTest, public ::testing::WithParamInterface<HostileText> {
 protected:
  HostileTextsTest() {
    launch();
    windows->window().resize(720, 480);
    settle();
  }

  static const std::string& bytes() { return GetParam().bytes; }
  // The result for the bytes if the text ends at a null byte.
  static std::string cut() { return bytes().c_str(); }
  PlayerItem* item(int row) const { return ui().viewPlayers->items().at(row); }
  ElidedLabel* facts(int row) const { return item(row)->findChild<ElidedLabel*>(); }

  static void expectShown(const QString& text, const QString& tip, const QString& accessible,
                          const std::string& whole) {
    const QString expected = displayText(std::string_view(whole));
    EXPECT_EQ(text, expected);
    EXPECT_TRUE(isHarmless(text)) << text.toStdString();
    EXPECT_EQ(shownTip(tip), expected);
    EXPECT_EQ(accessible, expected);
  }
  void expectWindowUnchanged() const {
    EXPECT_EQ(windows->window().size(), QSize(720, 480));
    EXPECT_EQ(windows->window().minimumSizeHint(), minimum_);
  }

  const QSize minimum_ = windows->window().minimumSizeHint();
};

TEST_P(HostileTextsTest, InThePlayerList) {
  deliver("/dev/sdb", true);
  bus.places = {{0x10003, {bytes(), "", ""}}};
  deliver("/dev/sdc", true, bytes().c_str(), "file:///media/x/", 4096, 0x10003);
  settle();
  ASSERT_EQ(ui().viewPlayers->items().size(), 2);
  expectShown(tick(1)->wholeText(), tick(1)->toolTip(), accessibleName(tick(1)),
              "/dev/sdc (" + cut() + ")");
  EXPECT_TRUE(tick(1)->shortcut().isEmpty());
  expectShown(facts(1)->text(), facts(1)->toolTip(), accessibleName(facts(1)),
              "USB " + bytes() + " · 4 KB");
  EXPECT_EQ(facts(1)->textFormat(), Qt::PlainText);
  EXPECT_EQ(item(1)->height(), item(0)->height());
  EXPECT_LE(item(1)->width(), ui().deviceScrollbar->viewport()->width());
  expectWindowUnchanged();
  item(1)->grab();
}

TEST_P(HostileTextsTest, InThePlayerListAsADevice) {
  deliver("/dev/sdb", true);
  deliver(bytes().c_str(), true);
  settle();
  expectShown(tick(1)->wholeText(), tick(1)->toolTip(), accessibleName(tick(1)),
              cut() + " (SONGS)");
  EXPECT_EQ(item(1)->height(), item(0)->height());
  expectWindowUnchanged();
  // It goes as it came.
  deliver(bytes().c_str(), false);
  EXPECT_EQ(listedDisks(), (std::vector<std::string>{"/dev/sdb"}));
}

TEST_P(HostileTextsTest, InTheFileTable) {
  addRoot("/m/plain", 1);
  addRoot("/m/" + bytes(), 1);
  settle();
  const auto& table = *ui().lstFiles;
  const QAbstractItemModel& model = *table.model();
  auto* const cells = QAccessible::queryAccessibleInterface(ui().lstFiles)->tableInterface();
  for (const auto& [column, whole] : {std::pair(0, bytes()), {2, "/m/" + bytes()}}) {
    const QModelIndex index = model.index(1, column);
    expectShown(index.data().toString(), index.data(Qt::ToolTipRole).toString(),
                cells->cellAt(1, column)->text(QAccessible::Name), whole);
    EXPECT_EQ(table.sizeHintForIndex(index).height(),
              table.sizeHintForIndex(model.index(0, column)).height());
  }
  EXPECT_EQ(table.rowHeight(1), table.rowHeight(0));
  EXPECT_EQ(table.horizontalHeader()->length(), table.viewport()->width());
  expectWindowUnchanged();
  ui().lstFiles->grab();
}

TEST_P(HostileTextsTest, InTheSummary) {
  QString shown;
  QString accessible;
  QSize size;
  answerAlert([&](const QMessageBox& box) {
    auto* const label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
    EXPECT_EQ(box.textFormat(), Qt::PlainText);
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
    shown = box.text();
    accessible = accessibleName(label);
    size = box.size();
  });
  Alert::run(&windows->window(), "Process Completed.\nPlayer " + bytes() + " Failed in process");
  EXPECT_EQ(accessible, shown);
  EXPECT_EQ(shown.count(QLatin1Char('\n')), 1 + std::count(bytes().begin(), bytes().end(), '\n'));
  EXPECT_TRUE(isHarmless(shown.remove(QLatin1Char('\n'))));
  EXPECT_LE(size.width(), windows->window().screen()->size().width());
  EXPECT_LE(size.height(), windows->window().screen()->size().height());
}

TEST_P(HostileTextsTest, InTheOpenPanel) {
  const TempFolder temp;
  temp.write("a.mp3", "");
  temp.write(cut() + ".mp3", "");
  const std::string path = temp.path(cut() + ".mp3");
  OpenPanel panel(&windows->window(), "mp3", QString::fromStdString(temp.path()));
  panel.show();
  waitForActive(panel);
  auto* const list = panel.findChild<QTreeView*>(QStringLiteral("treeView"));
  const auto names = [list] { return list->model()->rowCount(list->rootIndex()); };
  const bool isUtf8 = QString::fromStdString(cut()).toStdString() == cut();
  // Qt lists no name that isn't UTF-8; such a file comes with its folder.
  runUntil([&] { return names() == (isUtf8 ? 2 : 1); });
  settle();
  for (int row = 0; row < names(); ++row) {
    const QModelIndex index = list->model()->index(row, 0, list->rootIndex());
    EXPECT_TRUE(isHarmless(index.data().toString())) << index.data().toString().toStdString();
    EXPECT_FALSE(index.data(Qt::ToolTipRole).isValid());
    EXPECT_EQ(list->visualRect(index).height(),
              list->visualRect(list->model()->index(0, 0, list->rootIndex())).height());
    if (index.data().toString() == QStringLiteral("a.mp3")) {
      continue;
    }
    EXPECT_EQ(index.data().toString(), displayText(std::string_view(cut() + ".mp3")));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(index).center());
    panel.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open)->click();
    EXPECT_EQ(panel.chosenPath().toStdString(), path);
  }
}

TEST_P(HostileTextsTest, InTheOpenPanelsTitle) {
  const OpenPanel panel(&windows->window(), bytes(), QDir::tempPath());
  EXPECT_TRUE(isHarmless(panel.windowTitle()));
}

// The texts in a device's string descriptors, passed through the whole program.
TEST_P(HostileTextsTest, InStringDescriptors) {
  const auto whole = TestUsbInterface::descriptorOf(bytes().substr(0, 126));
  auto unterminated = whole;
  unterminated[0] = 0xFF;  // claims to be longer than it is
  std::uint32_t handle = 0x10002;
  for (const auto& descriptor : {whole, unterminated, {whole.front()}, {}}) {
    auto stick =
        makeStick("sd" + std::string(1, static_cast<char>('a' + (handle & 0xF))), handle, cut());
    stick->nameText = bytes();
    stick->interface->descriptors = {{1, descriptor}, {2, descriptor}, {3, descriptor}};
    const StdCapture out(stdout);
    const StdCapture err(stderr);
    bus.plug(stick);
    settle();
    // With any other name it is no player; with a player's name it is one.
    EXPECT_EQ(listedDisks().size(), handle - 0x10002);
    handle++;
    stick->nameText = "HS USB FlashDisk";
    stick->handleValue = handle;
    bus.plug(stick);
    runUntil([&] { return listedDisks().size() == handle - 0x10002; });
    EXPECT_TRUE(isHarmless(tick(static_cast<int>(listedDisks().size()) - 1)->wholeText()));
  }
}

std::string nameOfText(const ::testing::TestParamInfo<HostileText>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Every, HostileTextsTest, ::testing::ValuesIn(hostileTexts()), nameOfText);

}  // namespace
}  // namespace fillstation::test
