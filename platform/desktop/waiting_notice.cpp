#include "platform/desktop/waiting_notice.h"

#include <QRV/Desktop.h>

namespace qrv::desktop {
namespace {

void (*gTell)(const char* words) = nullptr;

}  // namespace

void TellOfWaiting(const char* words) {
  if (gTell != nullptr) gTell(words);
}

void DesktopTellsOfWaiting(void (*tell)(const char* words)) noexcept { gTell = tell; }

}  // namespace qrv::desktop
