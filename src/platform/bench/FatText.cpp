#include "FatText.h"

#include <QString>
#include <QStringDecoder>

namespace fillstation {

std::optional<std::u16string> utf16Of(std::string_view text) {
  QStringDecoder decoder(QStringDecoder::Utf8,
                         QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
  const QString decoded = decoder(QByteArrayView(text.data(), static_cast<qsizetype>(text.size())));
  if (decoder.hasError()) {
    return std::nullopt;
  }
  return decoded.toStdU16String();
}

std::string utf8Of(std::u16string_view units) {
  return QString::fromUtf16(units.data(), static_cast<qsizetype>(units.size())).toStdString();
}

}  // namespace fillstation
