#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include <scheduler/MailText.h>
#include "MailServer.h"

namespace mesk::host {
namespace {

using Json = nlohmann::json;

PostedMessage posted(const std::string& subject, const std::string& body) {
  PostedMessage result;
  result.id = 7;
  result.message.recipient = "Ann";
  result.message.address = "ann@example.org";
  result.message.sender = "ADA";
  result.message.subject = subject;
  result.message.body = body;
  return result;
}

std::string text(const PostedMessage& posted) { return mailText(posted, "mesk@example.org", "id@example.org", 0); }

std::string withoutBlanks(std::string text) {
  std::erase(text, ' ');
  return text;
}

class MailTextTest : public testing::Test {
 protected:
  /// What another program reads in it.
  Json read(const PostedMessage& posted) const {
    const std::string mail = text(posted);
    for (std::size_t at = 0; at < mail.size();) {
      const std::size_t end = mail.find("\r\n", at);
      EXPECT_NE(end, std::string::npos) << "the last line has no end";
      if (end == std::string::npos) break;
      EXPECT_LE(end - at, 998U);
      EXPECT_EQ(mail.substr(at, end - at).find_first_of("\r\n"), std::string::npos);
      at = end + 2;
    }
    for (const char c : mail) EXPECT_TRUE(c == '\r' || c == '\n' || c == '\t' || (c >= 0x20 && c < 0x7f)) << mail;
    return Json::parse(printed(MESK_SUPPORT "/read-mails --one " + scratch_.write("mail", mail))).at(0);
  }

  Scratch scratch_;
};

TEST_F(MailTextTest, AMailIsWrittenAsItsReadersExpect) {
  EXPECT_EQ(mailText(posted("backup failed", "code 3\n"), "mesk@example.org", "mesk.x.7@example.org", 1795298807000),
            "Date: Sat, 21 Nov 2026 22:06:47 +0000\r\n"
            "From: \"ADA\" <mesk@example.org>\r\n"
            "To: \"Ann\" <ann@example.org>\r\n"
            "Subject: backup failed\r\n"
            "Message-ID: <mesk.x.7@example.org>\r\n"
            "Auto-Submitted: auto-generated\r\n"
            "MIME-Version: 1.0\r\n"
            "Content-Type: text/plain; charset=UTF-8\r\n"
            "Content-Transfer-Encoding: quoted-printable\r\n"
            "\r\n"
            "code 3\r\n");
}

TEST_F(MailTextTest, TextsInAnyScriptArrive) {
  PostedMessage message = posted("Sicherung für März: ни одной строки 家計簿 😀", "Größe = 3 µm\n\nни одной строки\n");
  message.message.recipient = "Änne \"die Erste\" \\";
  message.message.sender = "Ada, \"the\" first \\";
  const Json mail = read(message);
  EXPECT_EQ(mail["defects"], Json::array()) << mail;
  EXPECT_EQ(mail["subject"], message.message.subject);
  EXPECT_EQ(mail["body"], message.message.body);
  EXPECT_EQ(mail["names"], (Json{message.message.sender, message.message.recipient}));
  EXPECT_EQ(mail["addresses"], (Json{"mesk@example.org", "ann@example.org"}));
}

TEST_F(MailTextTest, NoTextAddsALineToTheHeader) {
  const Json plain = read(posted("x", "y"))["headers"];
  for (const char* end : {"\r\n", "\n", "\r", "\r\n\r\n", "\v", "\f", "\x1c", "\xC2\x85", "\xE2\x80\xA8"}) {
    PostedMessage message = posted(std::string("x") + end + "Bcc: eve@example.org", "y");
    message.message.recipient = std::string("Ann") + end + "X-Evil: 1";
    message.message.sender = std::string("ADA") + end + "X-Evil: 1";
    const Json mail = read(message);
    EXPECT_EQ(mail["headers"], plain) << mail;
    EXPECT_EQ(mail["addresses"], (Json{"mesk@example.org", "ann@example.org"}));
    EXPECT_EQ(mail["body"], "y\n");
  }
}

TEST_F(MailTextTest, ALongSubjectIsFoldedAndArrivesInOnePiece) {
  std::string words;
  for (int i = 0; i < 100; ++i) words += "word" + std::to_string(i) + (i % 7 == 0 ? "  " : " ");
  words += "end";
  for (const std::string& subject : {words, std::string(3000, 'x'), std::string(75, 'x') + " " + std::string(75, 'y'),
                                     std::string("a b ").append(900, 'z'), std::string("=?UTF-8?B?eA==?="),
                                     std::string("a  b"), std::string(" a"), std::string()}) {
    const Json mail = read(posted(subject, "y"));
    EXPECT_EQ(mail["defects"], Json::array()) << mail;
    EXPECT_EQ(mail["subject"], subject);
  }
}

TEST_F(MailTextTest, BlanksAndDotsAtLineEndsAndBeginningsSurvive) {
  const std::string body = ".\n..\nFrom here\n blank \t\n\ttab\t\n=3D\n" + std::string(75, 'x') + " \n" +
                           std::string(76, 'y') + "\n" + std::string(400, '=') + "\n";
  const Json mail = read(posted("x", body));
  EXPECT_EQ(mail["body"], body);
  EXPECT_EQ(mail["defects"], Json::array()) << mail;
}

TEST_F(MailTextTest, EveryKindOfLineEndIsOne) { EXPECT_EQ(read(posted("x", "a\r\nb\rc\nd"))["body"], "a\nb\nc\nd\n"); }

TEST_F(MailTextTest, BytesThatAreNoTextAreReplaced) {
  const Json mail = read(posted("x\xff y", "a\xc3\n"));
  EXPECT_EQ(mail["subject"], "x\xEF\xBF\xBD y");
  EXPECT_EQ(mail["body"], "a\xEF\xBF\xBD\n");
}

TEST_F(MailTextTest, APagerGetsTheBeginning) {
  std::string body;
  std::string expected;
  for (int i = 0; i < 500; ++i) {
    body += "ä";
    if (i < 160) expected += "ä";
  }
  PostedMessage message = posted("x", body);
  EXPECT_EQ(read(message)["body"], body + "\n");
  message.message.kind = kMessagePager;
  EXPECT_EQ(read(message)["body"], expected + "\n");
}

TEST_F(MailTextTest, AContactThatIsAnAddressHasNoName) {
  PostedMessage message = posted("x", "y");
  message.message.recipient = message.message.address;
  message.message.sender.clear();
  const Json mail = read(message);
  EXPECT_EQ(mail["names"], (Json{"", ""}));
  EXPECT_EQ(mail["addresses"], (Json{"mesk@example.org", "ann@example.org"}));
}

TEST_F(MailTextTest, RandomTextsArrive) {
  std::mt19937_64 random(randomSeed());
  const std::vector<std::string> pieces{"a",  "Z",  "9", " ", "  ", "=", "?",  "=?", "?=", "_", ".",
                                        "\"", "\\", "<", ">", ",",  ":", "ä",  "ß",  "家", "😀", "\t",
                                        "@",  "(",  ")", "é", "\n", "-", "--", ";",  "'",  "%"};
  for (int round = 0; round < 40; ++round) {
    const auto make = [&](std::size_t most, bool lines) {
      std::string made = "x";
      for (std::size_t left = random() % most; left > 0; --left) {
        const std::string& piece = pieces[random() % pieces.size()];
        made += !lines && (piece == "\n" || piece == "\t") ? "." : piece;
      }
      return made + "x";
    };
    PostedMessage message = posted(make(300, false), make(1000, true));
    message.message.recipient = make(60, false);
    message.message.sender = make(60, false);
    const Json mail = read(message);
    EXPECT_EQ(mail["subject"], message.message.subject);
    EXPECT_EQ(mail["body"], message.message.body + "\n");
    // This reader makes its own of the blanks in names, as names may be read.
    EXPECT_EQ(withoutBlanks(mail["names"][0]), withoutBlanks(message.message.sender));
    EXPECT_EQ(withoutBlanks(mail["names"][1]), withoutBlanks(message.message.recipient));
    if (testing::Test::HasFailure()) FAIL() << text(message);
  }
}

TEST_F(MailTextTest, OnlyOneAddressIsAnAddress) {
  for (const char* good : {"ann@example.org", "a+b.c@x", "änne@example.org", "a@b@c"}) {
    EXPECT_TRUE(isMailAddress(good)) << good;
  }
  for (const char* bad : {"", "ann", "@x", "a@", "a@b c", "a@b,c@d", "<a@b>", "a@b\r\nRCPT TO:<c@d>", "a@b\n", "a\t@b",
                          "\"a b\"@c", "a@b;c", "Ann <a@b>", "a@b\xff"}) {
    EXPECT_FALSE(isMailAddress(bad)) << bad;
  }
  EXPECT_FALSE(isMailAddress(std::string(250, 'a') + "@bcde"));
}

}  // namespace
}  // namespace mesk::host
