#include "BenchDisk.h"

#include "BenchVolume.h"
#include "FatImage.h"
#include "Url.h"

namespace fillstation {

std::optional<DiskDescription> BenchDisk::copyDescription() {
  DiskDescription description;
  if (!player_->isPresent() || player_->isEjected()) {
    return description;
  }
  description.deviceVendor = player_->identity().vendor;
  description.mediaSize = player_->mediaSize();
  const auto fat = player_->isKnown() ? FatImage::open(player_->image()) : std::nullopt;
  if (!fat) {
    return description;
  }
  description.volumeName = fat->label();
  if (const auto volume = player_->volume()) {
    description.volumePath = Url::fromPath(volume->folder(), true).absoluteString();
  }
  return description;
}

}  // namespace fillstation
