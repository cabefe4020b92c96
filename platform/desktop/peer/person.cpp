#include "platform/desktop/peer/person.h"

#include <utility>

namespace qrv::desktop {
namespace {

QRVWaitingReport theReport = nullptr;
void* theContext = nullptr;
Clock::duration personTime{};

}  // namespace

void SetWaitingReport(QRVWaitingReport report, void* context) {
  theReport = report;
  theContext = context;
}

void ReportWaiting(const char* message) {
  if (theReport != nullptr) theReport(message, theContext);
}

void AddPersonTime(Clock::duration time) { personTime += time; }

Clock::duration TakePersonTime() { return std::exchange(personTime, {}); }

}  // namespace qrv::desktop
