// What this process has seen of the system's large pages.
#ifndef PLATFORM_DESKTOP_LARGE_PAGES_H_
#define PLATFORM_DESKTOP_LARGE_PAGES_H_

#include "platform/desktop/waiting.h"

namespace qrv::desktop {

// False for a while after two in a row were slow to get, unless ordinary ones were no faster.
bool LargePagesAreAtHand();

// To be told, once one was asked for, when that was.
void LearnLargePage(Clock::time_point begin);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_LARGE_PAGES_H_
