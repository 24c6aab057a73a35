// One link of the execution queue.
#pragma once

#include <mesk/bridge/Export.h>

namespace mesk {

class MDTaskExec;

/// Owns nothing: neither the entry nor its neighbours.
class MESK_API TaskExecNode {
 public:
  TaskExecNode();
  explicit TaskExecNode(MDTaskExec* entry);

  /// Writes the entry's line to standard error, as `MDTaskExecList::print`. The node must have an entry.
  void print() const;

  MDTaskExec* exec = nullptr;  ///< null in the two nodes that end a list
  TaskExecNode* prev = nullptr;
  TaskExecNode* next = nullptr;
};

}  // namespace mesk
