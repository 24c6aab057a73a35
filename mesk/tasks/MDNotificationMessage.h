// The texts that notifications carry.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDTask;
class MDTaskHistory;

/// Wraps the store's MDNotificationMessage, which fills in what a text says about a finished run.
class MESK_API MDNotificationMessage : public MDObject {
 public:
  /// Dead when the class or its constructor is missing.
  explicit MDNotificationMessage(ThreadContext& ctx);

  /// What Java makes of the two texts for this run of the task, a new text; null when task or history is null or dead.
  char* getResolvedMessage(ThreadContext& ctx, jobject context, MDTask* task, MDTaskHistory* history, const char* text1,
                           const char* text2) const;

  /// A message of the library's own by its number, a new text; null when there is none.
  static char* getMRIMessage(ThreadContext& ctx, int messageNumber);
};

}  // namespace mesk
