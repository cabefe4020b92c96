// Waiting for a person, whom a desktop asks whether a capture is allowed.
#ifndef PLATFORM_DESKTOP_PEER_PERSON_H_
#define PLATFORM_DESKTOP_PEER_PERSON_H_

#include <screenshotqrv/platform.h>

#include "platform/desktop/deadline.h"

namespace qrv::desktop {

// Sets what ReportWaiting calls.
void SetWaitingReport(QRVWaitingReport report, void* context);

// Passes the host a message on what is waited for.
void ReportWaiting(const char* message);

// The time that a person may take is not the call's: it is added here, and taken by the session.
void AddPersonTime(Clock::duration time);
Clock::duration TakePersonTime();

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_PEER_PERSON_H_
