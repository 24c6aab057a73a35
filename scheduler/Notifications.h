// Who is told of the end of a run.
#pragma once

#include <string>
#include <vector>

#include <mesk/tasks/MDNotificationAction.h>
#include <scheduler/Administration.h>
#include <scheduler/Outbox.h>
#include <scheduler/RunEnd.h>
#include <scheduler/Session.h>

namespace mesk::host {

/// Puts the messages that a task's notification actions ask for into the outbox, as part of the caller's unit of work.
/// Nothing that is wrong with them changes how the run went. One thread.
class Notifications {
 public:
  struct Told {
    std::string results;                ///< a line for each action, and for each contact that cannot be told
    std::vector<std::string> troubles;  ///< the latter, for the log
    int messages = 0;                   ///< that are in the outbox now
  };

  Notifications(Session& session, Administration& administration, Outbox& outbox)
      : session_(session), administration_(administration), outbox_(outbox) {}

  Told tell(const RunEnd& end);

 private:
  struct Texts {
    std::string subject;
    std::string body;
  };

  void take(const RunEnd& end, MDNotificationAction& action, Told& told);
  std::string trouble(const RunEnd& end, MDNotificationAction& action, const std::string& contact, MessageKind kind,
                      const Texts& texts, Told& told);
  Texts texts(const RunEnd& end, const MDNotificationAction& action, MessageKind kind);
  std::string resolved(const RunEnd& end, const std::string& message, int usual);

  Session& session_;
  Administration& administration_;
  Outbox& outbox_;
};

}  // namespace mesk::host
