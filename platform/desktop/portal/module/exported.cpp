// What libScreenshotPortal.so exports.
#include "platform/desktop/portal/module/kwin.h"
#include "platform/desktop/portal/module/portal.h"

extern "C" [[gnu::visibility("default")]] const qrv::desktop::portal::Module QRV_portal_module;
const qrv::desktop::portal::Module QRV_portal_module = {qrv::desktop::portal::OpenKWinSource,
                                                        qrv::desktop::portal::OpenPortalSource};
