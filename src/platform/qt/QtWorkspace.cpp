#include "QtWorkspace.h"

#include <sys/wait.h>
#include <unistd.h>

#include <QDBusMessage>
#include <QVariantMap>
#include <thread>

#include "ChildProcess.h"

namespace fillstation {
namespace {

constexpr auto kDesktopEntry = "fillstation";

QString latin(const char* text) { return QString::fromLatin1(text); }

}  // namespace

void QtWorkspace::openUrl(const std::string& address) {
  ChildSetup setup;
  setup.discard(STDOUT_FILENO);
  setup.discard(STDERR_FILENO);
  setup.startSession();
  pid_t child = 0;
  if (setup.start({"xdg-open", address}, child) == 0) {
    std::thread([child] { ::waitpid(child, nullptr, 0); }).detach();
  }
}

void QtWorkspace::showProgress(std::optional<double> share) {
  // Docks look at the interface only, not at the object's path.
  auto message = QDBusMessage::createSignal(
      latin("/fillstation"), latin("com.canonical.Unity.LauncherEntry"), latin("Update"));
  message << latin("application://%1.desktop").arg(latin(kDesktopEntry))
          << QVariantMap{{latin("progress"), share.value_or(0)},
                         {latin("progress-visible"), share.has_value()}};
  bus_().send(message);
}

void QtWorkspace::notify(const std::string& text, bool isBad) {
  auto message = QDBusMessage::createMethodCall(
      latin("org.freedesktop.Notifications"), latin("/org/freedesktop/Notifications"),
      latin("org.freedesktop.Notifications"), latin("Notify"));
  const QVariantMap hints{{latin("desktop-entry"), latin(kDesktopEntry)},
                          {latin("sound-name"), latin(isBad ? "dialog-warning" : "complete")}};
  // The text may be shown as markup.
  constexpr int kAsTheDesktopLikes = -1;
  constexpr unsigned kReplacesNone = 0;
  message << latin("Fillstation") << kReplacesNone << latin(kDesktopEntry) << latin("Fillstation")
          << QString::fromStdString(text).toHtmlEscaped() << QStringList() << hints
          << kAsTheDesktopLikes;
  bus_().send(message);
}

}  // namespace fillstation
