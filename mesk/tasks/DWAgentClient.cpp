#include <mesk/tasks/DWAgentClient.h>

#include <mesk/bridge/Signature.h>
#include <mesk/tasks/AgentObject.h>
#include <mesk/tasks/DWAgentRtn.h>
#include <mesk/tasks/MDTask.h>

namespace mesk {
namespace {

constexpr const char* kClientClass = "com/orvik/kelvo/mesk/sched/DWAgentClient";

}  // namespace

DWAgentClient::DWAgentClient(ThreadContext& ctx) { makeAgentObject(ctx, *this, kClientClass, "()V"); }

DWAgentClient::DWAgentClient(ThreadContext& ctx, jobject context, MDTask* task, const char* s1, const char* s2,
                             const char* s3, const char* s4, const char* s5) {
  const LocalRef<jstring> j1(ctx.env, stringTojString(ctx, s1));
  const LocalRef<jstring> j2(ctx.env, stringTojString(ctx, s2));
  const LocalRef<jstring> j3(ctx.env, stringTojString(ctx, s3));
  const LocalRef<jstring> j4(ctx.env, stringTojString(ctx, s4));
  const LocalRef<jstring> j5(ctx.env, stringTojString(ctx, s5));
  makeAgentObject(ctx, *this, kClientClass,
                  joined<"(", kContextType, metadataType<"MDTask">, kStringType, kStringType, kStringType, kStringType,
                         kStringType, ")V">,
                  context, task->object, j1.get(), j2.get(), j3.get(), j4.get(), j5.get());
}

DWAgentClient::DWAgentClient(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

int DWAgentClient::run(ThreadContext& ctx, long long id, int n, BrixStepInfo& info) {
  const DWAgentRtn outcome(ctx);
  const int result = askAgentObject(ctx, *this, "run", "(JILcom/orvik/kelvo/mesk/sched/DWAgentRtn;)I",
                                    static_cast<jlong>(id), static_cast<jint>(n), outcome.object);
  info.JobRC = outcome.getJobRC(ctx);
  info.JobState = outcome.getJobState(ctx);
  info.RowsMoved = outcome.getRowsMoved(ctx);
  info.BytesMoved = outcome.getBytesMoved(ctx);
  info.EditionNumber = outcome.getEditionNumber(ctx);
  info.RetryCount = outcome.getRetryCount(ctx);
  return result;
}

}  // namespace mesk
