// Waiting for a person whom the desktop asks to allow a capture.
#ifndef PLATFORM_DESKTOP_PEER_PERSON_H_
#define PLATFORM_DESKTOP_PEER_PERSON_H_

#include <screenshotqrv/platform.h>

#include "platform/desktop/deadline.h"

namespace qrv::desktop {

// Sets what ReportWaiting calls.
void SetWaitingReport(QRVWaitingReport report, void* context);

// Reports to the host what a capture is waiting for.
void ReportWaiting(const char* message);

// The time that a person takes to answer does not count against the call: a backend adds it here,
// and the session takes it.
void AddPersonTime(Clock::duration time);
Clock::duration TakePersonTime();

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_PEER_PERSON_H_
