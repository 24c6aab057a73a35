// The home of task snapshots.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDTaskSnapshot;

class MESK_API MDTaskSnapshotType : public MDObject {
 public:
  MESK_LOCAL MDTaskSnapshotType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `home`; `context` is ignored.
  MDTaskSnapshotType(ThreadContext& ctx, jobject home, jobject context);

  /// The snapshot as Java gave it, whatever the code: a local reference. Asks for a method whose declared result is
  /// the home's own class.
  jobject retrieve(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& rc, int& sqlCode);

  /// The latest snapshot that the store has, as `retrieve`. A null `context` gives -300.
  MESK_LOCAL jobject retrieveLatestSnapshot(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// The snapshots of one task. Code 30013 of the store is an empty list.
  int retrieveList(ThreadContext& ctx, jobject context, long long taskID, MDTaskSnapshot**& snapshots, int& count,
                   int& sqlCode);

  MESK_LOCAL int deleteIt(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& sqlCode);
};

}  // namespace mesk
