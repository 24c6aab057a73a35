#include <mesk/bridge/Invoke.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/support/JvmTest.h>
#include <mesk/values/Blob.h>
#include <mesk/values/Clob.h>
#include <platform/CodePage.h>

#include <string>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

class LargeObjectTest : public JvmTest {
 protected:
  LargeObjectTest() { setProcessCodePage(kUtf8CodePage); }
  ~LargeObjectTest() override { setProcessCodePage(0); }

  /// The bytes that an operation handed out, deleted; "(null)" for null.
  static std::string bytes(signed char* buffer, std::size_t length) {
    if (buffer == nullptr) return "(null)";
    std::string result(reinterpret_cast<char*>(buffer), length);
    ::operator delete(buffer);
    return result;
  }
};

using BlobTest = LargeObjectTest;
using ClobTest = LargeObjectTest;

const std::string kBytes("\x00\x01\x7F\x80\xFF", 5);

TEST_F(BlobTest, HoldsACopyOfTheBytes) {
  std::string original = kBytes;
  const Blob blob(ctx, original.data(), static_cast<int>(original.size()));
  original.assign(5, 'x');
  EXPECT_TRUE(isLive(blob));
  EXPECT_EQ(blob.length(ctx), 5);
  EXPECT_EQ(bytes(blob.getAllBytes(ctx), 5), kBytes);
  EXPECT_EQ(script.calls(), Strings{"new MDBlob([0, 1, 127, -128, -1])"});
}

TEST_F(BlobTest, TheFirstByteIsAtPositionOne) {
  const Blob blob(ctx, kBytes.data(), 5);
  EXPECT_EQ(bytes(blob.getBytes(ctx, 1, 2), 2), kBytes.substr(0, 2));
  EXPECT_EQ(bytes(blob.getBytes(ctx, 5, 1), 1), kBytes.substr(4));
}

TEST_F(BlobTest, TheBufferIsAsLongAsWhatJavaGives) {
  const Blob blob(ctx, kBytes.data(), 5);
  EXPECT_EQ(bytes(blob.getBytes(ctx, 4, 100), 2), kBytes.substr(3));
}

TEST_F(BlobTest, AnEmptyBlobIsABufferOfNoBytes) {
  const Blob blob(ctx, "", 0);
  EXPECT_EQ(blob.length(ctx), 0);
  signed char* const all = blob.getAllBytes(ctx);
  EXPECT_NE(all, nullptr);
  ::operator delete(all);
}

TEST_F(BlobTest, AReadOfNoBytesIsABufferOfNoBytes) {
  const Blob blob(ctx, kBytes.data(), 5);
  signed char* const none = blob.getBytes(ctx, 1, 0);
  EXPECT_NE(none, nullptr);
  ::operator delete(none);
}

TEST_F(BlobTest, WrapsWhatJavaHas) {
  const Blob blob(ctx, kBytes.data(), 5);
  const Blob same(ctx, blob.object);
  EXPECT_EQ(bytes(same.getAllBytes(ctx), 5), kBytes);
}

TEST_F(BlobTest, ADeadBlobIsEmptyAndNull) {
  const Blob dead(ctx, nullptr);
  EXPECT_EQ(dead.length(ctx), 0);
  EXPECT_EQ(dead.getBytes(ctx, 1, 1), nullptr);
  EXPECT_EQ(dead.getAllBytes(ctx), nullptr);
  EXPECT_EQ(jni.calls(), 0);
}

TEST_F(BlobTest, MissingMethodsAreEmptyAndNull) {
  const Blob blob(ctx, kBytes.data(), 5);
  jni.failMethod("length");
  jni.failMethod("getBytes");
  EXPECT_EQ(blob.length(ctx), 0);
  EXPECT_EQ(blob.getBytes(ctx, 1, 1), nullptr);
  EXPECT_EQ(blob.getAllBytes(ctx), nullptr);
}

TEST_F(BlobTest, WithoutMemoryTheBytesAreNullAndTheArrayReleased) {
  const LogCapture log;
  const Blob blob(ctx, kBytes.data(), 5);
  const AllocationFault fault(AllocationFault::kNew, 1);
  EXPECT_EQ(blob.getBytes(ctx, 1, 5), nullptr);
  EXPECT_EQ(jni.locals(), 0);
  EXPECT_EQ(log.lines(), Strings{});
}

TEST_F(BlobTest, IsDeadWhateverOfItsMakingIsRefused) {
  const auto expectDead = [&](const char* what) {
    {
      const Blob blob(ctx, kBytes.data(), 5);
      EXPECT_FALSE(isLive(blob)) << what;
    }
    EXPECT_EQ(jni.locals(), 0) << what;
    jni.heal();
  };
  jni.fail(JniTable::kNewByteArray, 1);
  expectDead("array");
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDBlob");
  expectDead("class");
  jni.failMethod("<init>");
  expectDead("constructor");
  jni.fail(JniTable::kNewObject, 1);
  expectDead("object");
  jni.fail(JniTable::kNewGlobalRef, 1);
  expectDead("reference to the class");
  jni.fail(JniTable::kNewGlobalRef, 2);
  expectDead("reference to the object");
}

TEST_F(BlobTest, IsLookedUpByItsNamesAndSignatures) {
  jni.noteLookups();
  const Blob blob(ctx, kBytes.data(), 5);
  ::operator delete(blob.getAllBytes(ctx));
  const std::string cls = "com/orvik/kelvo/mesk/metadata/MDBlob";
  EXPECT_EQ(jni.lookups(), (Strings{cls, cls + ".<init>([B)V", cls + ".length()J", cls + ".getBytes(JI)[B"}));
}

TEST_F(BlobTest, TheLengthOfAVeryLongBlobIsNarrowed) {
  jobject longBlob;
  {
    const JniTable::Pause pause(ctx.env);
    JNIEnv* const env = ctx.env;
    const LocalRef<jclass> cls(env, env->FindClass("com/orvik/kelvo/mesk/fake/LongBlob"));
    longBlob = env->NewObject(cls.get(), env->GetMethodID(cls.get(), "<init>", "(J)V"), (jlong{1} << 32) + 3);
    env->ExceptionCheck();
  }
  const Blob blob(ctx, longBlob);
  EXPECT_EQ(blob.length(ctx), (1LL << 32) + 3);
  signed char* const all = blob.getAllBytes(ctx);
  EXPECT_EQ(bytes(all, 3), std::string(3, '\0'));
  EXPECT_EQ(script.calls(), Strings{"LongBlob.getBytes(1, 3)"});
}

TEST_F(ClobTest, HoldsTheTextAndLeavesTheCallersAlone) {
  const LocalRef<jstring> text(ctx.env, ctx.env->NewStringUTF("select 1"));
  const Clob clob(ctx, text.get());
  EXPECT_EQ(jni.locals(), 1);
  EXPECT_EQ(clob.length(ctx), 8);
  EXPECT_EQ(taken(clob.getString(ctx)), "select 1");
}

TEST_F(ClobTest, TheFirstCharacterIsAtPositionOne) {
  const Clob clob(ctx, javaString("select 1"));
  EXPECT_EQ(taken(clob.getSubString(ctx, 1, 6)), "select");
  EXPECT_EQ(taken(clob.getSubString(ctx, 8, 1)), "1");
}

TEST_F(ClobTest, ItsLengthIsInJavasCharacters) {
  const Clob clob(ctx, javaString("\xE6\x97\xA5"
                                  "a"));
  EXPECT_EQ(clob.length(ctx), 2);
  EXPECT_EQ(taken(clob.getString(ctx)),
            "\xE6\x97\xA5"
            "a");
}

TEST_F(ClobTest, AnEmptyClobIsANullText) {
  const Clob clob(ctx, javaString(""));
  EXPECT_TRUE(isLive(clob));
  EXPECT_EQ(clob.length(ctx), 0);
  EXPECT_EQ(clob.getString(ctx), nullptr);
}

TEST_F(ClobTest, ANullTextReachesJavaAsItIs) {
  const Clob clob(ctx, static_cast<jstring>(nullptr));
  EXPECT_EQ(script.calls(), Strings{"new MDClob(null)"});
}

TEST_F(ClobTest, WrapsWhatJavaHas) {
  const Clob clob(ctx, javaString("select 1"));
  const Clob same(ctx, clob.object);
  EXPECT_EQ(taken(same.getString(ctx)), "select 1");
}

TEST_F(ClobTest, ADeadClobIsEmptyAndNull) {
  const Clob dead(ctx, static_cast<jobject>(nullptr));
  EXPECT_EQ(dead.length(ctx), 0);
  EXPECT_EQ(dead.getSubString(ctx, 1, 1), nullptr);
  EXPECT_EQ(dead.getString(ctx), nullptr);
  EXPECT_EQ(jni.calls(), 0);
}

TEST_F(ClobTest, MissingMethodsAreEmptyAndNull) {
  const Clob clob(ctx, javaString("select 1"));
  jni.failMethod("length");
  jni.failMethod("getSubString");
  EXPECT_EQ(clob.length(ctx), 0);
  EXPECT_EQ(clob.getSubString(ctx, 1, 1), nullptr);
  EXPECT_EQ(clob.getString(ctx), nullptr);
}

TEST_F(ClobTest, WithoutMemoryTheTextIsNullAndThatIsLogged) {
  const LogCapture log;
  const Clob clob(ctx, javaString("select 1"));
  const AllocationFault fault(AllocationFault::kNew, 2);
  EXPECT_EQ(clob.getString(ctx), nullptr);
  EXPECT_EQ(log.lines(), Strings{"0x10080161/10 \"Scheduler out of memory.\""});
}

TEST_F(ClobTest, IsDeadWhateverOfItsMakingIsRefused) {
  const auto expectDead = [&](const char* what) {
    {
      const Clob clob(ctx, javaString("select 1"));
      EXPECT_FALSE(isLive(clob)) << what;
    }
    jni.heal();
  };
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDClob");
  expectDead("class");
  jni.failMethod("<init>");
  expectDead("constructor");
  jni.fail(JniTable::kNewObject, 1);
  expectDead("object");
  jni.fail(JniTable::kNewGlobalRef, 1);
  expectDead("reference to the class");
  jni.fail(JniTable::kNewGlobalRef, 2);
  expectDead("reference to the object");
}

TEST_F(ClobTest, IsLookedUpByItsNamesAndSignatures) {
  jni.noteLookups();
  const Clob clob(ctx, javaString("select 1"));
  taken(clob.getString(ctx));
  const std::string cls = "com/orvik/kelvo/mesk/metadata/MDClob";
  EXPECT_EQ(jni.lookups(), (Strings{cls, cls + ".<init>(Ljava/lang/String;)V", cls + ".length()J",
                                    cls + ".getSubString(JI)Ljava/lang/String;"}));
}

}  // namespace
}  // namespace mesk::test
