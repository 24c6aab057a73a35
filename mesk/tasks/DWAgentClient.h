// Runs steps of the warehouse component on an agent.
#pragma once

#include <cstdint>

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDTask;

/// How a step went.
struct BrixStepInfo {
  std::int32_t JobRC;     ///< return code of the agent's job, a code of the agent
  std::int32_t JobState;  ///< how the job ended, a code of the agent
  std::int32_t RowsMoved;
  std::int32_t BytesMoved;
  std::int32_t EditionNumber;  ///< the edition of the step's data that was produced
  std::int32_t RetryCount;     ///< retries that were made
};

/// Wraps the store's DWAgentClient. Unlike other wrappers it makes no checks: a class or method that is missing shows
/// as an exception of Java, and a dead wrapper must not be run. The constructors that make an object, and `run`, each
/// leave a local reference to a class behind; call them within a local frame where that matters.
class MESK_API DWAgentClient : public MDObject {
 public:
  explicit DWAgentClient(ThreadContext& ctx);

  /// A client for `task`, which must be live. What the five texts say is the Java class's.
  DWAgentClient(ThreadContext& ctx, jobject context, MDTask* task, const char* s1, const char* s2, const char* s3,
                const char* s4, const char* s5);
  DWAgentClient(ThreadContext& ctx, jobject obj);

  /// Runs the step and answers what Java answered; `info` is filled whatever that is. What `id` and `n` name is the
  /// Java class's.
  int run(ThreadContext& ctx, long long id, int n, BrixStepInfo& info);
};

}  // namespace mesk
