#include <mesk/queue/QueueProbe.h>

namespace mesk {

std::vector<MDTaskExec*> QueueProbe::entries() const {
  std::vector<MDTaskExec*> result;
  for (const TaskExecNode* node = list_.head_.next; node != &list_.tail_; node = node->next) {
    result.push_back(node->exec);
  }
  return result;
}

bool QueueProbe::linksHold() const {
  const TaskExecNode* const head = &list_.head_;
  const TaskExecNode* const tail = &list_.tail_;
  if (head->prev != head || tail->next != nullptr || head->exec != nullptr || tail->exec != nullptr) return false;
  int count = 0;
  for (const TaskExecNode* node = head; node != tail; node = node->next) {
    if (node->next == nullptr || node->next->prev != node) return false;
    if (node != head) ++count;
    if (node != head && node->exec == nullptr) return false;
  }
  return count == list_.size_;
}

}  // namespace mesk
