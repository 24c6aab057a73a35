#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include <scheduler/Notice.h>
#include <scheduler/Scratch.h>

namespace mesk::host {
namespace {

void await(const Notice& notice) {
  struct pollfd wait = {notice.fd(), POLLIN, 0};
  ASSERT_EQ(::poll(&wait, 1, -1), 1);
}

TEST(NoticeTest, WordOfAnotherProcessWakesTheWatcher) {
  const Scratch scratch;
  Notice notice = Notice::watch(scratch.at("store.db"));
  EXPECT_FALSE(notice.drain());
  const pid_t other = ::fork();
  if (other == 0) {
    Notice::post(scratch.at("store.db"));
    ::_exit(0);
  }
  await(notice);
  EXPECT_TRUE(notice.drain());
  ASSERT_EQ(::waitpid(other, nullptr, 0), other);
  EXPECT_FALSE(notice.drain());
}

TEST(NoticeTest, WordsThatComeTogetherCountAsOne) {
  const Scratch scratch;
  Notice notice = Notice::watch(scratch.at("store.db"));
  for (int i = 0; i < 5; ++i) Notice::post(scratch.at("store.db"));
  EXPECT_TRUE(notice.drain());
  EXPECT_FALSE(notice.drain());
}

TEST(NoticeTest, TheStoreItselfMayChangeWithoutWord) {
  const Scratch scratch;
  Notice notice = Notice::watch(scratch.at("store.db"));
  scratch.write("store.db", "x");
  EXPECT_FALSE(notice.drain());
}

TEST(NoticeTest, AFileThatSomebodyRemovedIsWatchedAgain) {
  const Scratch scratch;
  Notice notice = Notice::watch(scratch.at("store.db"));
  std::filesystem::remove(scratch.at("store.db.notice"));
  await(notice);
  EXPECT_TRUE(notice.drain());
  Notice::post(scratch.at("store.db"));
  await(notice);
  EXPECT_TRUE(notice.drain());
}

TEST(NoticeTest, WhoMayWriteTheStoreMayGiveWord) {
  const Scratch scratch;
  scratch.write("store.db", "");
  ::chmod(scratch.at("store.db").c_str(), 0660);
  const mode_t old = ::umask(077);
  Notice::post(scratch.at("store.db"));
  ::umask(old);
  struct stat file {};
  ASSERT_EQ(::stat(scratch.at("store.db.notice").c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0777, 0660U);
}

TEST(NoticeTest, AStoreInNoFolderIsAnError) {
  EXPECT_THROW(Notice::post("/nowhere/store.db"), std::system_error);
  EXPECT_THROW(Notice::watch("/nowhere/store.db"), std::system_error);
}

}  // namespace
}  // namespace mesk::host
