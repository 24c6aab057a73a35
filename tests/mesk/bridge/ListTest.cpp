// How a list of the store becomes an array of wrappers.
#include <mesk/bridge/StoreList.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/JvmTest.h>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

class Element : public MDObject {
 public:
  Element(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}
  using MDObject::getLong;
};

class ListTest : public JvmTest, public ::testing::WithParamInterface<ListForm> {
 protected:
  ~ListTest() override { clear(); }

  void clear() {
    for (int i = 0; i < count; ++i) delete items[i];
    delete[] items;
    items = nullptr;
    count = 0;
  }

  int read(int emptyCode = kNothingInHome) {
    clear();
    count = sqlCode = 1;
    items = reinterpret_cast<Element**>(&count);
    return retrieveWrappers(ctx, home, "retrieveList", storeSignature<"", kCollectionType>, GetParam(), emptyCode,
                            items, count, sqlCode, context);
  }

  jobject newTask(long long key) {
    const JniTable::Pause pause(ctx.env);
    const jobject task = newFake("MDTask");
    const LocalRef<jclass> cls(ctx.env, ctx.env->GetObjectClass(task));
    ctx.env->CallVoidMethod(task, ctx.env->GetMethodID(cls.get(), "setTaskID", "(J)V"), static_cast<jlong>(key));
    ctx.env->ExceptionCheck();
    return task;
  }

  MDObject home{ctx, newFake("MDTaskType")};
  Element** items = nullptr;
  int count = 0;
  int sqlCode = 1;
};

INSTANTIATE_TEST_SUITE_P(Forms, ListTest, ::testing::Values(ListForm::sizeAndGet, ListForm::toArray),
                         [](const auto& form) { return form.param == ListForm::toArray ? "ToArray" : "SizeAndGet"; });

TEST_P(ListTest, HandsOutAWrapperForEachElementInOrder) {
  script.on("MDTaskType.retrieveList").returnsList({newTask(7), newTask(8), newTask(9)});
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(sqlCode, 0);
  ASSERT_EQ(count, 3);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(items[i]->getLong(ctx, "getTaskID"), 7 + i);
  EXPECT_EQ(script.calls(), Strings{"MDTaskType.retrieveList(context, exception)"});
  EXPECT_EQ(script.count("MDUtility.getNestedSQLCode(exception)"), 0);
  EXPECT_EQ(jni.locals(), 0);
}

TEST_P(ListTest, AnEmptyCollectionIsAnEmptyList) {
  script.on("MDTaskType.retrieveList").returnsList({});
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(items, nullptr);
  EXPECT_EQ(count, 0);
}

TEST_P(ListTest, NoCollectionIsAnEmptyList) {
  script.on("MDTaskType.retrieveList").returns(static_cast<jobject>(nullptr));
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(items, nullptr);
  EXPECT_EQ(count, 0);
}

TEST_P(ListTest, TheCodeForNothingFoundIsSuccessWithoutANestedCode) {
  script.on("MDTaskType.retrieveList").code(30013, 100);
  EXPECT_EQ(read(kNothingInHome), 0);
  EXPECT_EQ(items, nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.count("MDUtility.getNestedSQLCode(exception)"), 0);
}

TEST_P(ListTest, TheCodesForNothingFoundAreNotMixedUp) {
  script.on("MDTaskType.retrieveList").code(30013, 100);
  EXPECT_EQ(read(kNothingRelated), 30013);
  EXPECT_EQ(sqlCode, 100);
  script.on("MDTaskType.retrieveList").code(30014, 101);
  EXPECT_EQ(read(kNothingRelated), 30013);  // the first answer, once more
  EXPECT_EQ(read(kNothingRelated), 0);
  EXPECT_EQ(read(kNothingInHome), 30014);
  EXPECT_EQ(sqlCode, 101);
  EXPECT_EQ(read(kNoEmptyCode), 30014);
}

TEST_P(ListTest, AFailureGivesItsCodesAndNoElements) {
  script.on("MDTaskType.retrieveList").code(30030, -911).returnsList({newTask(7)});
  EXPECT_EQ(read(), 30030);
  EXPECT_EQ(sqlCode, -911);
  EXPECT_EQ(items, nullptr);
  EXPECT_EQ(count, 0);
}

TEST_P(ListTest, ADeadHomeGivesMinus300) {
  MDObject dead(ctx, nullptr);
  EXPECT_EQ(retrieveWrappers(ctx, dead, "retrieveList", storeSignature<"", kCollectionType>, GetParam(), kNothingInHome,
                             items, count, sqlCode, context),
            -300);
  EXPECT_EQ(items, nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(sqlCode, 0);
}

TEST_P(ListTest, AMissingMethodGivesMinus300) {
  jni.failMethod("retrieveList");
  EXPECT_EQ(read(), -300);
  EXPECT_EQ(items, nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(sqlCode, 0);
}

TEST_P(ListTest, ACollectionWithoutItsMethodsIsAnEmptyList) {
  script.on("MDTaskType.retrieveList").returnsList({newTask(7)});
  for (const char* method : {"size", "get", "toArray"}) {
    jni.failMethod(method);
    const bool used = (std::string(method) == "toArray") == (GetParam() == ListForm::toArray);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(count, used ? 0 : 1) << method;
    EXPECT_EQ(items == nullptr, used) << method;
    EXPECT_EQ(jni.locals(), 0) << method;
    jni.heal();
  }
}

TEST_P(ListTest, AWrapperWithoutMemoryIsANullInItsPlace) {
  script.on("MDTaskType.retrieveList").returnsList({newTask(7), newTask(8), newTask(9)});
  const AllocationFault fault(AllocationFault::kNew, 3);  // the array, the first, the second
  EXPECT_EQ(read(), 0);
  ASSERT_EQ(count, 3);
  EXPECT_NE(items[0], nullptr);
  EXPECT_EQ(items[1], nullptr);
  EXPECT_NE(items[2], nullptr);
}

TEST_P(ListTest, WithoutMemoryForTheArrayThereAreNoElements) {
  script.on("MDTaskType.retrieveList").returnsList({newTask(7)});
  const AllocationFault fault(AllocationFault::kNew, 1);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(items, nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(jni.locals(), 0);
}

TEST_P(ListTest, ANullElementIsADeadWrapper) {
  script.on("MDTaskType.retrieveList").returnsList({nullptr});
  EXPECT_EQ(read(), 0);
  ASSERT_EQ(count, 1);
  ASSERT_NE(items[0], nullptr);
  EXPECT_FALSE(isLive(*items[0]));
}

TEST_P(ListTest, AThousandElementsNeedNoMoreLocalReferencesThanOne) {
  std::vector<jobject> same(1000, newTask(7));
  script.on("MDTaskType.retrieveList").returnsList(same);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(count, 1000);
  EXPECT_EQ(jni.locals(), 0);
}

}  // namespace
}  // namespace mesk::test
