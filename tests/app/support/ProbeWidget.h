#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QWidget>

namespace fillstation::test {

// A widget that writes down what its "enabled" property is set to, instead of following it.
class ProbeWidget : public QWidget {
  Q_OBJECT
  Q_PROPERTY(bool enabled READ isEnabled WRITE probe)

 public:
  ProbeWidget(const QString& name, QStringList& calls, QWidget* parent)
      : QWidget(parent), calls_(calls) {
    setObjectName(name);
  }
  void probe(bool enabled) {
    calls_.append(objectName() + (enabled ? QStringLiteral(" on") : QStringLiteral(" off")));
  }

 private:
  QStringList& calls_;
};

}  // namespace fillstation::test
