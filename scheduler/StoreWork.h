// What a host's threads put around their work on the store.
#pragma once

#include <mesk/session/MDUtility.h>

namespace mesk::host {

/// Holds the scheduler's latch, as every thread of a host does while it works on the store.
class StoreWork {
 public:
  StoreWork() { MDUtility::getLatch(); }
  ~StoreWork() { MDUtility::freeLatch(); }
  StoreWork(const StoreWork&) = delete;
  StoreWork& operator=(const StoreWork&) = delete;
};

}  // namespace mesk::host
