#pragma once

#include <QGuiApplication>
#include <QLocale>
#include <QRegularExpression>
#include <QTranslator>

#include "Languages.h"

namespace fillstation::test {

// Every text 40 % longer, by its own beginning.
class LongerTexts : public QTranslator {
 public:
  bool isEmpty() const override { return false; }
  QString translate(const char* /*context*/, const char* text, const char* /*comment*/,
                    int /*number*/) const override {
    const QString source = QString::fromUtf8(text);
    QString more = source;
    more.remove(QRegularExpression(QStringLiteral("%[0-9np]|[&\n]")));
    return source + more.left((source.size() * 2 + 4) / 5);
  }
};

// The language of a test's windows, made before them: as the desktop calls it, or "longer".
class Spoken {
 public:
  explicit Spoken(const QString& language) {
    if (language == QLatin1String("longer")) {
      QCoreApplication::installTranslator(&longer_);
    } else {
      speak({language});
    }
    QLocale::setDefault(QLocale(language));  // as on such a desktop, with the digits of its people
  }
  ~Spoken() {
    speak({});
    QLocale::setDefault(QLocale::system());
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
  }
  Spoken(const Spoken&) = delete;
  Spoken& operator=(const Spoken&) = delete;

 private:
  LongerTexts longer_;
};

}  // namespace fillstation::test
