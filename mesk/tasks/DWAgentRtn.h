// The outcome of one run of the warehouse agent.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

/// Wraps the store's DWAgentRtn. Unlike other wrappers it makes no checks: a class or method that is missing shows as
/// an exception of Java, and a dead wrapper must not be asked.
class MESK_API DWAgentRtn : public MDObject {
 public:
  /// An outcome for `DWAgentClient::run` to fill. Leaves a local reference to the class behind.
  explicit DWAgentRtn(ThreadContext& ctx);
  DWAgentRtn(ThreadContext& ctx, jobject obj);

  int getJobRC(ThreadContext& ctx) const;     ///< a code of the agent
  int getJobState(ThreadContext& ctx) const;  ///< a code of the agent
  int getRowsMoved(ThreadContext& ctx) const;
  int getBytesMoved(ThreadContext& ctx) const;
  int getEditionNumber(ThreadContext& ctx) const;
  int getRetryCount(ThreadContext& ctx) const;
};

}  // namespace mesk
