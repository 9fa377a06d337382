#include "UDisksClient.h"

#include <QVariantMap>
#include <limits>
#include <utility>

#include "Format.h"
#include "UDisksNames.h"

namespace fillstation {

namespace {

// What libdbus takes as "wait for ever"; Qt hands the number on. (-1 is its default of 25 seconds.)
constexpr int kNoTimeOut = std::numeric_limits<int>::max();

}  // namespace

void UDisksClient::call(const std::string& path, const char* interface, const char* method,
                        Callback callback) {
  const QVariantMap options{{QString::fromLatin1(udisks::kNoUserInteraction), true}};
  send(path, interface, method, {options}, std::move(callback));
}

void UDisksClient::getObjects(Callback callback) {
  send(udisks::kRoot, udisks::kObjectManager, udisks::kGetManagedObjects, {}, std::move(callback));
}

std::string UDisksClient::blockPath(const std::string& blockName) {
  return udisks::kBlockPrefix + blockName;
}

void UDisksClient::send(const std::string& path, const char* interface, const char* method,
                        const QVariantList& arguments, Callback callback) {
  auto message = QDBusMessage::createMethodCall(
      QString::fromLatin1(udisks::kService), QString::fromStdString(path),
      QString::fromLatin1(interface), QString::fromLatin1(method));
  message.setArguments(arguments);
  bus_.call(message, kNoTimeOut, [this, callback = std::move(callback)](const auto& answer) {
    if (answer.type() == QDBusMessage::ErrorMessage) {
      const UDisksFailure failure = failureOf(answer);
      callback(&failure, {});
    } else {
      callback(nullptr, answer.arguments());
    }
  });
}

UDisksFailure UDisksClient::failureOf(const QDBusMessage& answer) {
  const std::string name = answer.errorName().toStdString();
  UDisksFailure failure{udisksErrorOf(name), name + ": " + answer.errorMessage().toStdString()};
  if (failure.error == UDisksError::serviceGone) {
    log_.write(formatText("UDisks2 can't be reached: %@\n", failure.text));
  } else if (failure.error == UDisksError::unknown) {
    log_.write(formatText("UDisks2 failed: %@\n", failure.text));
  }
  return failure;
}

}  // namespace fillstation
