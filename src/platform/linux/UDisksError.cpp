#include "UDisksError.h"

#include <map>

#include "UDisksNames.h"

namespace fillstation {

UDisksError udisksErrorOf(std::string_view name) {
  using namespace udisks;
  static const std::map<std::string_view, UDisksError> kMeanings{
      {kErrorAlreadyMounted, UDisksError::alreadyMounted},
      {kErrorNotMounted, UDisksError::notMounted},
      {kErrorDeviceBusy, UDisksError::refused},
      {kErrorFailed, UDisksError::refused},
      {kErrorNotAuthorized, UDisksError::refused},
      {kErrorUnknownMethod, UDisksError::notThere},
      {kErrorUnknownObject, UDisksError::notThere},
      {kErrorUnknownInterface, UDisksError::notThere},
      {kErrorServiceUnknown, UDisksError::serviceGone},
      {kErrorNoReply, UDisksError::serviceGone},
      {kErrorDisconnected, UDisksError::serviceGone},
  };
  if (name.starts_with(kErrorSpawnPrefix)) {
    return UDisksError::serviceGone;
  }
  const auto meaning = kMeanings.find(name);
  return meaning != kMeanings.end() ? meaning->second : UDisksError::unknown;
}

}  // namespace fillstation
