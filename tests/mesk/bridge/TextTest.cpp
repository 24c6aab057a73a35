// Texts between the process code page and Java.
#include <mesk/bridge/MDObject.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/support/JvmTest.h>
#include <platform/CodePage.h>
#include <platform/Memory.h>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

constexpr std::uint32_t kWestern = 1252;
constexpr std::uint32_t kNoCodePage = 99999;

class TextTest : public JvmTest {
 protected:
  TextTest() { setProcessCodePage(kUtf8CodePage); }
  ~TextTest() override { setProcessCodePage(0); }

  /// The UTF-16 units of a Java text.
  std::u16string unitsOf(jstring text) {
    const JniTable::Pause pause(ctx.env);
    const jsize length = ctx.env->GetStringLength(text);
    std::u16string units(static_cast<std::size_t>(length), u'\0');
    ctx.env->GetStringRegion(text, 0, length, reinterpret_cast<jchar*>(units.data()));
    return units;
  }

  jstring fromUnits(const std::u16string& units) {
    return ctx.env->NewString(reinterpret_cast<const jchar*>(units.data()), static_cast<jsize>(units.size()));
  }

  /// What Java gets for a native text.
  std::u16string toJava(const char* text) {
    const LocalRef<jstring> result(ctx.env, MDObject::stringTojString(ctx, text));
    return result ? unitsOf(result.get()) : u"(null)";
  }

  /// What the native side gets for a Java text.
  std::string toNative(const std::u16string& units) { return taken(MDObject::jStringToString(ctx, fromUnits(units))); }
};

TEST_F(TextTest, NullStaysNullBothWaysWithoutAJniCall) {
  EXPECT_EQ(MDObject::jStringToString(ctx, nullptr), nullptr);
  EXPECT_EQ(MDObject::stringTojString(ctx, nullptr), nullptr);
  EXPECT_EQ(jni.calls(), 0);
}

TEST_F(TextTest, AnEmptyNativeTextBecomesANullJavaText) {
  EXPECT_EQ(MDObject::stringTojString(ctx, ""), nullptr);
  EXPECT_EQ(jni.calls(), 0);
}

TEST_F(TextTest, AnEmptyJavaTextBecomesANullNativeTextAndIsConsumed) {
  const jstring empty = ctx.env->NewStringUTF("");
  EXPECT_EQ(MDObject::jStringToString(ctx, empty), nullptr);
  EXPECT_EQ(jni.locals(), 0);
}

TEST_F(TextTest, TheJavaTextIsConsumed) {
  const jstring text = ctx.env->NewStringUTF("nightly");
  EXPECT_EQ(jni.locals(), 1);
  EXPECT_EQ(taken(MDObject::jStringToString(ctx, text)), "nightly");
  EXPECT_EQ(jni.locals(), 0);
}

TEST_F(TextTest, EveryPlaneOfUnicodeSurvivesBothWays) {
  struct Row {
    const char* native;
    const char16_t* java;
  };
  for (const Row& row : {Row{"plain", u"plain"},
                         Row{"Gr\xC3\xBC\xC3\x9F"
                             "e",
                             u"Gr\u00FC\u00DFe"},
                         Row{"\xE2\x82\xAC", u"\u20AC"}, Row{"\xE6\x97\xA5\xE6\x9C\xAC", u"\u65E5\u672C"},
                         Row{"a\xF0\x9F\x98\x80z", u"a\U0001F600z"}, Row{"\xF4\x8F\xBF\xBF", u"\U0010FFFF"}}) {
    EXPECT_EQ(toJava(row.native), row.java) << row.native;
    EXPECT_EQ(toNative(row.java), row.native) << row.native;
  }
}

TEST_F(TextTest, AZeroCharacterInsideAJavaTextSurvivesAsTwoBytes) {
  EXPECT_EQ(toNative(std::u16string(u"a\0b", 3)),
            "a\xC0\x80"
            "b");
  EXPECT_EQ(toJava("a\xC0\x80"
                   "b"),
            std::u16string(u"a\0b", 3));
}

TEST_F(TextTest, EveryUnicodeScalarValueSurvivesTheWayToJavaAndBack) {
  constexpr char32_t kStep = 0x400;
  for (char32_t first = 0; first <= 0x10FFFF; first += kStep) {
    std::u16string units;
    for (char32_t c = first; c < first + kStep; ++c) {
      if (c >= 0xD800 && c <= 0xDFFF) continue;
      if (c < 0x10000) {
        units += static_cast<char16_t>(c);
      } else {
        units += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
        units += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
      }
    }
    if (units.empty()) continue;
    const std::string native = toNative(units);
    ASSERT_EQ(toJava(native.c_str()), units) << std::hex << static_cast<std::uint32_t>(first);
  }
}

TEST_F(TextTest, EveryLoneSurrogateArrivesAsTheSubstitutionCharacterAndStaysIt) {
  for (char32_t c = 0xD800; c <= 0xDFFF; ++c) {
    const std::string native = toNative(std::u16string{u'a', static_cast<char16_t>(c), u'z'});
    ASSERT_EQ(native, "a\xEF\xBF\xBDz") << std::hex << static_cast<std::uint32_t>(c);
    ASSERT_EQ(toJava(native.c_str()), u"a\uFFFDz");
  }
}

TEST_F(TextTest, ALoneSurrogateBecomesTheSubstitutionCharacter) {
  EXPECT_EQ(toNative(std::u16string{u'a', char16_t{0xD800}, u'z'}), "a\xEF\xBF\xBDz");
}

TEST_F(TextTest, TextsAreInTheProcessCodePage) {
  setProcessCodePage(kWestern);
  EXPECT_EQ(toJava("Gr\xFC\xDF"
                   "e"),
            u"Gr\u00FC\u00DFe");
  EXPECT_EQ(toNative(u"Gr\u00FC\u00DFe"),
            "Gr\xFC\xDF"
            "e");
}

TEST_F(TextTest, WhatTheCodePageCannotSayIsSubstitutedAndTheRestSurvives) {
  setProcessCodePage(kWestern);
  const std::string text = toNative(u"a\u65E5z");
  EXPECT_EQ(text.front(), 'a');
  EXPECT_EQ(text.back(), 'z');
  EXPECT_EQ(text.size(), 3u);
}

TEST_F(TextTest, AMalformedNativeTextStillGivesAJavaText) { EXPECT_EQ(toJava("a\xFFz"), u"a\uFFFDz"); }

// The room for the Java side is three bytes for each native one, the zero byte included.
TEST_F(TextTest, ANativeTextThatFillsItsRoomIsCutBetweenCharacters) {
  setProcessCodePage(kWestern);
  EXPECT_EQ(toJava("\x80\x80"), u"\u20AC");
  EXPECT_EQ(toJava("\x80"
                   "a"),
            u"\u20ACa");
}

TEST_F(TextTest, AnUnusableCodePageGivesANullJavaText) {
  setProcessCodePage(kNoCodePage);
  const std::size_t live = reportLiveBlocks(nullptr, nullptr);
  EXPECT_EQ(MDObject::stringTojString(ctx, "nightly"), nullptr);
  EXPECT_EQ(jni.calls(), 0);
  EXPECT_EQ(reportLiveBlocks(nullptr, nullptr), live);
}

TEST_F(TextTest, TheWorkMemoryIsGivenBack) {
  const std::size_t live = reportLiveBlocks(nullptr, nullptr);
  EXPECT_EQ(toJava("nightly"), u"nightly");
  EXPECT_EQ(reportLiveBlocks(nullptr, nullptr), live);
}

TEST_F(TextTest, AJavaTextThatCannotBeMadeGivesNullAndGivesTheWorkMemoryBack) {
  const std::size_t live = reportLiveBlocks(nullptr, nullptr);
  jni.fail(JniTable::kNewStringUTF, 1);
  EXPECT_EQ(MDObject::stringTojString(ctx, "nightly"), nullptr);
  EXPECT_EQ(reportLiveBlocks(nullptr, nullptr), live);
}

void expectOutOfMemory(const LogCapture& log, std::uint32_t function, std::uint32_t probe) {
  ASSERT_EQ(log.records().size(), 1u);
  const LogCapture::Record record = log.records()[0];
  EXPECT_EQ(record.function, function);
  EXPECT_EQ(record.code, 0);
  EXPECT_EQ(record.probe, probe);
  EXPECT_EQ(record.level, 3u);
  ASSERT_EQ(record.items.size(), 1u);
  EXPECT_EQ(record.items[0].bytes, "Scheduler out of memory.");
  EXPECT_EQ(record.items[0].type, -5);
}

TEST_F(TextTest, NoMemoryForTheJavaFormIsLoggedAndTheJavaTextKept) {
  const LogCapture log;
  const LocalRef<jstring> text(ctx.env, ctx.env->NewStringUTF("nightly"));
  {
    const AllocationFault fault(AllocationFault::kNew, 1);
    EXPECT_EQ(MDObject::jStringToString(ctx, text.get()), nullptr);
  }
  EXPECT_EQ(jni.locals(), 1);
  expectOutOfMemory(log, 0x10080161, 20);
}

TEST_F(TextTest, NoMemoryForTheNativeFormIsLoggedAndTheJavaTextConsumed) {
  const LogCapture log;
  const jstring text = ctx.env->NewStringUTF("nightly");
  {
    const AllocationFault fault(AllocationFault::kNew, 2);
    EXPECT_EQ(MDObject::jStringToString(ctx, text), nullptr);
  }
  EXPECT_EQ(jni.locals(), 0);
  expectOutOfMemory(log, 0x10080161, 10);
}

TEST_F(TextTest, CharactersThatJavaCannotGiveCountAsOutOfMemory) {
  const LogCapture log;
  const LocalRef<jstring> text(ctx.env, ctx.env->NewStringUTF("nightly"));
  jni.fail(JniTable::kGetStringUTFChars, 1);
  EXPECT_EQ(MDObject::jStringToString(ctx, text.get()), nullptr);
  expectOutOfMemory(log, 0x10080161, 20);
}

TEST_F(TextTest, NoWorkMemoryIsLoggedAndGivesANullJavaText) {
  const LogCapture log;
  {
    const AllocationFault fault(AllocationFault::kWorkMemory, 1);
    EXPECT_EQ(MDObject::stringTojString(ctx, "nightly"), nullptr);
  }
  EXPECT_EQ(jni.calls(), 0);
  expectOutOfMemory(log, 0x10080162, 10);
}

TEST_F(TextTest, AConversionThatWorksIsNotLogged) {
  const LogCapture log;
  EXPECT_EQ(toJava("nightly"), u"nightly");
  EXPECT_EQ(toNative(u"nightly"), "nightly");
  EXPECT_EQ(log.lines(), Strings{});
}

}  // namespace
}  // namespace mesk::test
