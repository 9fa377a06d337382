#include "Languages.h"

#include <QGuiApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>
#include <memory>

namespace fillstation {
namespace {

bool install(const QLocale& locale, const QString& name, const QString& folder) {
  auto catalogue = std::make_unique<QTranslator>(qApp);
  return catalogue->load(locale, name, QStringLiteral("_"), folder) &&
         QCoreApplication::installTranslator(catalogue.release());
}

bool installOurs(const QLocale& locale) {
  return install(locale, QStringLiteral("fillstation"), QStringLiteral(":/languages"));
}

}  // namespace

// Qt would ask LANGUAGE in the C locale too.
QStringList desktopLanguages() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const QString locale = qEnvironmentVariable(variable);
    if (!locale.isEmpty()) {
      const bool isC = QLocale(locale).language() == QLocale::C;
      return isC ? QStringList() : QLocale::system().uiLanguages();
    }
  }
  return {};
}

void speak(const QStringList& languages) {
  qDeleteAll(qApp->findChildren<QTranslator*>());
  installOurs(QLocale::English);  // its forms for one of a thing
  for (const QString& language : languages) {
    const QLocale locale(language);
    if (locale.language() == QLocale::English) {
      return;
    }
    if (installOurs(locale)) {
      install(locale, QStringLiteral("qtbase"), QLibraryInfo::path(QLibraryInfo::TranslationsPath));
      if (locale.textDirection() == Qt::RightToLeft) {
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
      }
      return;
    }
  }
}

}  // namespace fillstation
