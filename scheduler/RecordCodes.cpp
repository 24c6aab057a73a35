#include <scheduler/RecordCodes.h>

namespace mesk::host {

const char* textOf(RunningStatus status) {
  switch (status) {
    case kRunRunning:
      return "running";
    case kRunSucceeded:
      return "succeeded";
    case kRunFailed:
      return "failed";
    case kRunMissed:
      return "missed";
    case kRunInterrupted:
      return "interrupted";
    case kRunWaiting:
      return "waiting to retry";
    case kRunTimeUp:
      return "timed out";
  }
  return "unknown";
}

const char* textOf(InvocationMethod method) {
  switch (method) {
    case kInvokedNow:
      return "run now";
    case kInvokedBySchedule:
      return "schedule";
    case kInvokedAgain:
      return "again";
    case kInvokedByFollowOn:
      return "follow-on";
    case kInvokedAsStep:
      return "step";
  }
  return "unknown";
}

}  // namespace mesk::host
