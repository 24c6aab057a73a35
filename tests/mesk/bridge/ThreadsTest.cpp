// Threads of their own with contexts of their own.
#include <mesk/bridge/Latch.h>
#include <mesk/bridge/StoreCall.h>
#include <mesk/support/JvmTest.h>
#include <platform/MeskJVM.h>

#include <algorithm>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

namespace mesk::test {
namespace {

constexpr int kThreads = 8;

class Task : public MDObject {
 public:
  Task(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}
  using MDObject::getLong;
  using MDObject::getString;
  using MDObject::persist;
  using MDObject::setLong;
  using MDObject::setString;
};

class ThreadsTest : public JvmTest {
 protected:
  /// Runs `work(ctx, i)` on eight threads at once, each with its own context, and detaches them.
  template <class Work>
  void together(Work work) {
    std::latch start(kThreads);
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&start, &work, i] {
        start.arrive_and_wait();
        ThreadContext own;
        EXPECT_EQ(own.attached, 1);
        {
          const JniTable there(own.env);
          work(own, i);
          EXPECT_EQ(there.locals(), 0);
        }
        own.destroy();
      });
    }
  }
};

TEST_F(ThreadsTest, ADefaultContextOnAnAttachedThreadGetsTheSameEnvironmentAndDetachesTheThread) {
  std::thread([] {
    JavaVM* const jvm = MeskJVM::getInstance()->getJVM();
    JNIEnv* env = nullptr;
    ASSERT_EQ(jvm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr), JNI_OK);
    ThreadContext own;
    EXPECT_EQ(own.env, env);
    EXPECT_EQ(own.attached, 1);
    own.destroy();
    void* none = nullptr;
    EXPECT_EQ(jvm->GetEnv(&none, JNI_VERSION_1_8), JNI_EDETACHED);
  }).join();
}

TEST_F(ThreadsTest, EachThreadHasAnEnvironmentOfItsOwn) {
  std::vector<JNIEnv*> environments(kThreads);
  std::latch all(kThreads);
  together([&](ThreadContext& own, int i) {
    environments[static_cast<std::size_t>(i)] = own.env;
    all.arrive_and_wait();
  });
  std::sort(environments.begin(), environments.end());
  EXPECT_EQ(std::adjacent_find(environments.begin(), environments.end()), environments.end());
}

TEST_F(ThreadsTest, ThreadsWorkOnRecordsOfTheirOwn) {
  std::vector<jobject> fakes;
  for (int i = 0; i < kThreads; ++i) fakes.push_back(ctx.env->NewGlobalRef(newFake("MDTask")));
  together([&](ThreadContext& own, int i) {
    Task task(own, fakes[static_cast<std::size_t>(i)]);
    int sqlCode = 1;
    for (int round = 0; round < 100; ++round) {
      task.setLong(own, "setTaskID", 1000 * i + round);
      task.setString(own, "setOwner", std::to_string(i).c_str());
      EXPECT_EQ(task.persist(own, "update", context, sqlCode), 0);
      EXPECT_EQ(task.getLong(own, "getTaskID"), 1000 * i + round);
      EXPECT_EQ(taken(task.getString(own, "getOwner")), std::to_string(i));
    }
  });
  EXPECT_EQ(script.calls().size(), 100u * kThreads);
  for (const jobject fake : fakes) ctx.env->DeleteGlobalRef(fake);
}

TEST_F(ThreadsTest, AWrapperIsUsedAndDeletedByThreadsThatDidNotMakeIt) {
  std::vector<std::unique_ptr<Task>> tasks(kThreads);
  together([&](ThreadContext& own, int i) {
    const LocalRef<jclass> cls(own.env, own.env->FindClass(metadataClass<"MDTask">));
    const LocalRef<> fake(
        own.env, own.env->NewObject(cls.get(), own.env->GetMethodID(cls.get(), "<init>", storeSignature<"", "V">),
                                    context, static_cast<jobject>(nullptr)));
    auto& task = tasks[static_cast<std::size_t>(i)];
    task = std::make_unique<Task>(own, fake.get());
    task->setLong(own, "setTaskID", i);
  });
  together([&](ThreadContext& own, int i) {
    auto& task = tasks[static_cast<std::size_t>((i + 1) % kThreads)];
    EXPECT_EQ(task->getLong(own, "getTaskID"), (i + 1) % kThreads);
    task.reset();
  });
}

TEST_F(ThreadsTest, AClassWideLatchLosesNoUpdate) {
  OSSLatch* latch = nullptr;
  OSSLatch* const made = madeLatch(latch);
  EXPECT_EQ(*made, 0);
  EXPECT_EQ(madeLatch(latch), made);
  int count = 0;
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        for (int round = 0; round < 10000; ++round) {
          takeLatch(madeLatch(latch));
          ++count;
          releaseLatch(madeLatch(latch));
        }
      });
    }
  }
  EXPECT_EQ(count, 10000 * kThreads);
  EXPECT_EQ(*made, 0);
  deleteLatch(latch);
  EXPECT_EQ(latch, nullptr);
  deleteLatch(latch);
  EXPECT_EQ(latch, nullptr);
}

}  // namespace
}  // namespace mesk::test
