// Scenarios and identities of the bench: read or refused, and an identity that is written is read.

#include "Scenario.h"
#include "Input.h"

using namespace fillstation;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = fuzz::Input(data, size).rest();
  const auto scenario = parseScenario(text, "scenario");
  if (const auto* error = std::get_if<std::string>(&scenario)) {
    fuzz::require(error->starts_with("scenario:") && error->size() > 10);
  } else {
    for (const auto& player : std::get<Scenario>(scenario)) {
      // It becomes the name of a file.
      fuzz::require(!player.name.empty() && player.name.find('/') == std::string::npos);
      fuzz::require(player.sizeMiB >= 64 && player.sizeMiB <= 8192);
    }
  }
  const auto identity = parseIdentity(text, "identity");
  if (const auto* read = std::get_if<BenchIdentity>(&identity)) {
    const auto again = parseIdentity(identityText(*read), "again");
    const auto* same = std::get_if<BenchIdentity>(&again);
    fuzz::require(same != nullptr && *same == *read);
  }
  return 0;
}
