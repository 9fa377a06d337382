#include "HomePage.h"
#include "Platform.h"
#include "TRAppDelegate.h"

namespace fillstation {

void TRAppDelegate::tirellLinkClicked(QObject* /*sender*/) {
  const Url address = Url::withString(kHomePage);
  platform().workspace->openUrl(address.absoluteString());
}

}  // namespace fillstation
