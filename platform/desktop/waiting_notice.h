// Telling the host that a capture waits for a person.
#ifndef PLATFORM_DESKTOP_WAITING_NOTICE_H_
#define PLATFORM_DESKTOP_WAITING_NOTICE_H_

namespace qrv::desktop {

// Calls what the host has given for that, if anything.
void TellOfWaiting(const char* words);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_WAITING_NOTICE_H_
