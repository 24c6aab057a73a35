// The fourth connection string is a password: after the call it is in no record, in no file and in none of the memory
// that a core of the process would show, but for what Java keeps.
#include <mesk/session/MDUser.h>
#include <mesk/session/MDUtility.h>
#include <mesk/support/JvmTest.h>
#include <platform/CodePage.h>
#include <platform/Log.h>
#include <platform/Trace.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace mesk::test {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kLength = 64;
constexpr std::size_t kPart = 16;  ///< what counts as having found it: an allocator overwrites some of what it got back
constexpr unsigned char kMask = 0x5A;

/// A text that stands nowhere but in a page of its own; what is kept to look for it is masked.
class Canary {
 public:
  Canary()
      : page_(static_cast<char*>(mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    std::random_device random;
    for (std::size_t i = 0; i < kLength; ++i) {
      masked_.push_back(static_cast<unsigned char>(('a' + random() % 26) ^ kMask));
      page_[i] = static_cast<char>(masked_[i] ^ kMask);
    }
  }
  ~Canary() { munmap(page_, kPage); }
  Canary(const Canary&) = delete;
  Canary& operator=(const Canary&) = delete;

  const char* text() const { return page_; }

  /// How often `bytes` hold a part of it, a byte a character or two.
  std::size_t countIn(const unsigned char* bytes, std::size_t length) const {
    return countIn(bytes, length, 1) + countIn(bytes, length, 2);
  }
  std::size_t countIn(const std::string& bytes) const {
    return countIn(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  }

 private:
  std::size_t countIn(const unsigned char* bytes, std::size_t length, std::size_t step) const {
    std::size_t found = 0;
    for (std::size_t at = 0; at + kPart * step <= length; ++at) {
      for (std::size_t part = 0; part < kLength; part += kPart) {
        std::size_t same = 0;
        while (same < kPart && (bytes[at + same * step] ^ kMask) == masked_[part + same] &&
               (step == 1 || bytes[at + same * step + 1] == 0)) {
          ++same;
        }
        if (same == kPart) ++found;
      }
    }
    return found;
  }

  char* page_;
  std::vector<unsigned char> masked_;
};

/// How often the canary stands in the process's own data, heap and stack.
std::size_t countInMemory(const Canary& canary) {
  std::size_t found = 0;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    std::uintptr_t from = 0;
    std::uintptr_t to = 0;
    char rights[5] = {};
    if (std::sscanf(line.c_str(), "%lx-%lx %4s", &from, &to, rights) != 3 || rights[0] != 'r' || rights[1] != 'w') {
      continue;
    }
    const bool own = line.find("[heap]") != std::string::npos || line.find("[stack]") != std::string::npos ||
                     line.find("libmesk") != std::string::npos || line.find("session_test") != std::string::npos;
    if (own) found += canary.countIn(reinterpret_cast<const unsigned char*>(from), to - from);
  }
  return found;
}

std::string contents(const std::filesystem::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

class PasswordTest : public JvmTest {
 protected:
  PasswordTest() {
    log = std::filesystem::temp_directory_path() / ("mesk-password-" + std::to_string(getpid()) + ".log");
    trace = std::filesystem::path(log).replace_extension(".trace");
    EXPECT_TRUE(startLog(log.c_str(), 1 << 20, 1));
    EXPECT_TRUE(startTrace(trace.c_str()));
  }
  ~PasswordTest() override {
    setProcessCodePage(0);
    std::filesystem::remove(log);
    std::filesystem::remove(trace);
  }

  /// Connects in each way, with each outcome.
  void connectInEveryWay() {
    for (const std::uint32_t codePage : {std::uint32_t{kUtf8CodePage}, 819U, 1252U, 943U}) {
      setProcessCodePage(codePage);
      for (const int code : {0, 30011}) {
        script.reset();
        script.on("MDUtility.connectMD").code(code, -1403, 28000).returns(code == 0 ? context : nullptr);
        for (const char* const missing : {"", "connectMD", "getRC"}) {
          if (*missing != '\0') jni.failMethod(missing);
          connect();
          jni.heal();
        }
        jni.fail(JniTable::kNewStringUTF, 4);
        connect();
        jni.heal();
      }
    }
  }

  void connect() {
    int rc = 0;
    int sqlCode = 0;
    int sqlState = 0;
    const char* const secret = canary.text();
    release(MDUtility::connectMD(ctx, "a-url", "a-schema", "a-user", secret, rc, sqlCode));
    release(MDUtility::connectMD(ctx, "a-url", "a-schema", "a-user", secret, rc, sqlCode, sqlState));
    MDUser::isAdministrator(ctx, "a-url", "a-schema", "a-user", secret, rc, sqlCode);
  }

  void release(jobject global) {
    if (global != nullptr) ctx.env->DeleteGlobalRef(global);
  }

  const Canary canary;
  std::filesystem::path log;
  std::filesystem::path trace;
};

TEST_F(PasswordTest, IsInNoRecordAndNoFile) {
  connectInEveryWay();
  stopTrace();
  stopLog();
  EXPECT_NE(contents(log).find("a-schema"), std::string::npos) << "nothing was logged";
  EXPECT_NE(contents(trace).find("a-schema"), std::string::npos) << "nothing was traced";
  EXPECT_EQ(canary.countIn(contents(log)), 0u);
  EXPECT_EQ(canary.countIn(contents(trace)), 0u);
}

TEST_F(PasswordTest, IsInNoMemoryOfTheProcessAfterTheCall) {
  connectInEveryWay();
  EXPECT_EQ(countInMemory(canary), 0u);
  stopTrace();
  stopLog();
}

TEST_F(PasswordTest, IsFoundWhereverItIs) {
  std::string wide;
  for (std::size_t i = 0; i < kLength; ++i) wide += {canary.text()[i], '\0'};
  EXPECT_EQ(canary.countIn("before " + std::string(canary.text()) + " after"), kLength / kPart);
  EXPECT_EQ(canary.countIn("before " + wide + " after"), kLength / kPart);
  EXPECT_EQ(canary.countIn(std::string(canary.text()).substr(1, kPart)), 0u);
  const std::string inHeap = canary.text();
  char inStack[kLength];
  std::memcpy(inStack, canary.text(), kLength);
  EXPECT_GE(countInMemory(canary), 2u) << inHeap << inStack[0];
  stopTrace();
  stopLog();
}

}  // namespace
}  // namespace mesk::test
