#include <mesk/tasks/DWAgentRtn.h>

#include <mesk/tasks/AgentObject.h>

namespace mesk {

DWAgentRtn::DWAgentRtn(ThreadContext& ctx) {
  makeAgentObject(ctx, *this, "com/orvik/kelvo/mesk/sched/DWAgentRtn", "()V");
}

DWAgentRtn::DWAgentRtn(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

int DWAgentRtn::getJobRC(ThreadContext& ctx) const { return askAgentObject(ctx, *this, "getJobRC", "()I"); }
int DWAgentRtn::getJobState(ThreadContext& ctx) const { return askAgentObject(ctx, *this, "getJobState", "()I"); }
int DWAgentRtn::getRowsMoved(ThreadContext& ctx) const { return askAgentObject(ctx, *this, "getRowsMoved", "()I"); }
int DWAgentRtn::getBytesMoved(ThreadContext& ctx) const { return askAgentObject(ctx, *this, "getBytesMoved", "()I"); }
int DWAgentRtn::getEditionNumber(ThreadContext& ctx) const {
  return askAgentObject(ctx, *this, "getEditionNumber", "()I");
}
int DWAgentRtn::getRetryCount(ThreadContext& ctx) const { return askAgentObject(ctx, *this, "getRetryCount", "()I"); }

}  // namespace mesk
