// Every exported operation of the library, call by call: in each state of its wrapper, with each code of the store,
// with the trace on and off, and with each lookup, reference, object and allocation failing in its turn.
#include <gtest/gtest.h>
#include <mesk/ledger/Row.h>
#include <mesk/support/JvmTest.h>
#include <platform/CodePage.h>
#include <platform/Log.h>
#include <platform/Trace.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <new>
#include <random>
#include <set>

namespace mesk::test::ledger {
namespace {

const Rows& allRows() {
  static const Rows rows = [] {
    Rows all;
    addBridgeRows(all);
    addValueRows(all);
    addSessionRows(all);
    addTaskRows(all);
    addTaskRelationRows(all);
    addActionRows(all);
    addScheduleRows(all);
    addQueueRows(all);
    addHistoryRows(all);
    addStatisticRows(all);
    return all;
  }();
  return rows;
}

unsigned seed() {
  static const unsigned value = [] {
    const char* const given = std::getenv("MESK_SEED");
    return given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  }();
  return value;
}

struct Code {
  int code;
  int sqlCode;
  int sqlState;
};

/// Codes that mean something to some operation, one that means nothing, and one at random.
std::vector<Code> codes(const Row& row) {
  if (!row.reports) return {{0, 0, 0}};
  // Each row has numbers of its own: a row alone meets the same as among all.
  std::mt19937 random(seed() ^ static_cast<unsigned>(std::hash<std::string>()(row.symbol + row.variant)));
  return {{0, -99, 99},       {4711, -803, 23505},
          {30012, 0, 0},      {30013, 100, 2000},
          {30014, 100, 2000}, {30016, -1, 1},
          {-300, -300, -300}, {static_cast<int>(random()), static_cast<int>(random()), static_cast<int>(random())}};
}

Answers answersOf(const Row& row, const Setting& setting) {
  Answers answers = row.answers;
  const auto byItself = [&](const std::string& method, int value) {
    if (!answers.has(method)) answers.add(method, static_cast<long long>(value));
  };
  byItself("getRC", setting.code);
  byItself("getNestedSQLCode", setting.sqlCode);
  byItself("getNestedIntSQLState", setting.sqlState);
  return answers;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string all;
  for (const std::string& line : lines) all += line + "\n";
  return all;
}

/// Plays the row once, both ways; empty when they agree, else what differs. `points` becomes how many things could
/// have failed.
std::string difference(const Row& row, const Setting& setting, ThreadContext& ctx, unsigned& points) {
  Prescription prescription(setting, answersOf(row, setting));
  row.prescribe(prescription);
  points = prescription.points();

  Recording recording(ctx.env, setting, answersOf(row, setting));
  Run run(ctx, recording, setting);
  row.run(run);
  std::vector<std::string> done = recording.lines();
  done.insert(done.end(), run.said().begin(), run.said().end());
  if (const std::vector<std::string> prescribed = prescription.all(); done != prescribed) {
    const auto [expected, got] = std::mismatch(prescribed.begin(), prescribed.end(), done.begin(), done.end());
    const auto rest = [](auto from, auto to) { return from == to ? std::string("(nothing more)") : *from; };
    return "prescribed: " + rest(expected, prescribed.end()) + "\ndone:       " + rest(got, done.end()) +
           "\nall that was done:\n" + joined(done);
  }
  run.deleteGiven();
  std::vector<Ref> left = prescription.left();
  std::vector<Ref> live = recording.liveReferences();
  std::sort(left.begin(), left.end());
  std::sort(live.begin(), live.end());
  if (live != left) return "references left behind: " + joined(live) + "all that was done:\n" + joined(done);
  if (recording.liveBlocks() != prescription.leftBlocks()) {
    return std::to_string(recording.liveBlocks()) + " blocks of memory left behind\n" + joined(done);
  }
  return {};
}

/// All settings of a row; the differences, but not more than a few.
std::vector<std::string> differences(const Row& row, ThreadContext& ctx) {
  std::vector<std::string> found;
  unsigned long played = 0;
  for (const State state : row.states) {
    for (const Code& code : codes(row)) {
      for (const bool traced : {false, true}) {
        // As many as there are when nothing fails: up to its own failure each turn is like that one.
        unsigned faults = 0;
        for (unsigned fault = 0; fault <= faults; ++fault) {
          unsigned points = 0;
          const Setting setting{state, code.code, code.sqlCode, code.sqlState, traced, row.attachFails, fault};
          const std::string different = difference(row, setting, ctx, points);
          if (fault == 0) faults = points;
          ++played;
          if (different.empty()) continue;
          found.push_back(row.symbol + " " + row.variant + "\n" + ::testing::PrintToString(setting) + "\n" + different);
          if (found.size() == 3) return found;
        }
      }
    }
  }
  EXPECT_GT(played, 1u);
  return found;
}

class LedgerTest : public JniTest {
 protected:
  LedgerTest() { setProcessCodePage(819); }
  ~LedgerTest() override { setProcessCodePage(0); }
};

class LedgerRowsTest : public LedgerTest, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(LedgerRowsTest, DoesWhatIsPrescribedAndNothingElse) {
  RecordProperty("seed", static_cast<int>(seed()));
  SCOPED_TRACE("MESK_SEED=" + std::to_string(seed()));
  const JniTable::Pause pause(ctx.env);
  for (const std::string& found : differences(allRows()[GetParam()], ctx)) ADD_FAILURE() << found;
}

/// A symbol's and a variant's letters and digits, for the name of a test.
std::string nameOfRow(const ::testing::TestParamInfo<std::size_t>& info) {
  const Row& row = allRows()[info.param];
  std::string name;
  for (const char c : row.symbol.substr(0, row.symbol.find('(')).substr(6) + "_" + row.variant) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) name += c;
  }
  return name + "_" + std::to_string(info.param);
}

INSTANTIATE_TEST_SUITE_P(Ledger, LedgerRowsTest, ::testing::Range<std::size_t>(0, allRows().size()), nameOfRow);

std::set<std::string> exportedSymbols() {
  std::ifstream file(MESK_EXPORTED_SYMBOLS);
  std::set<std::string> symbols;
  for (std::string line; std::getline(file, line);) symbols.insert(line);
  return symbols;
}

std::set<std::string> withoutRow(const Rows& rows) {
  std::set<std::string> without = exportedSymbols();
  for (const Row& row : rows) without.erase(row.symbol);
  return without;
}

TEST_F(LedgerTest, EveryExportedOperationHasARow) {
  EXPECT_GT(exportedSymbols().size(), 700u) << "no list of exported symbols: " << MESK_EXPORTED_SYMBOLS;
  EXPECT_EQ(withoutRow(allRows()), std::set<std::string>());
}

TEST_F(LedgerTest, AnExportedOperationWithoutARowIsFound) {
  const std::string missing = "mesk::MDTaskExecList::sort(int)";
  Rows rows = allRows();
  rows.erase(std::remove_if(rows.begin(), rows.end(), [&](const Row& row) { return row.symbol == missing; }),
             rows.end());
  EXPECT_EQ(withoutRow(rows), std::set<std::string>{missing});
}

/// An operation beside what it has to do, and the same with one thing wrong.
class WrongRowTest : public LedgerTest {
 protected:
  using Run = ledger::Run;

  /// A commit that is right, but for what `run` and `prescribe` add behind it.
  Row commit(const std::function<void(Run&)>& run = nullptr,
             const std::function<void(Prescription&)>& prescribe = nullptr) {
    Row right = rowOf("mesk::MDUtility::commit(mesk::ThreadContext&, _jobject*)");
    Row wrong = right;
    wrong.run = [right, run](Run& r) {
      right.run(r);
      if (run) run(r);
    };
    wrong.prescribe = [right, prescribe](Prescription& p) {
      right.prescribe(p);
      if (prescribe) prescribe(p);
    };
    return wrong;
  }

  static const Row& rowOf(const std::string& symbol) {
    const auto found =
        std::find_if(allRows().begin(), allRows().end(), [&](const Row& row) { return row.symbol == symbol; });
    if (found == allRows().end()) throw std::logic_error("no row for " + symbol);
    return *found;
  }

  std::string found(const Row& row) {
    const JniTable::Pause pause(ctx.env);
    return joined(differences(row, ctx));
  }

  void expectFound(const Row& row, const char* what) { EXPECT_PRED_FORMAT2(::testing::IsSubstring, what, found(row)); }

  static jobject leaked(Run& run) {
    jobject made = nullptr;
    run.record([&] { made = run.ctx.env->FindClass("java/lang/Object"); });
    return made;
  }
};

TEST_F(WrongRowTest, WhatIsRightIsNotBlamed) { EXPECT_EQ(found(commit()), ""); }

TEST_F(WrongRowTest, ACallThatIsNotPrescribedIsFound) {
  const Row wrong = commit([](Run& run) {
    const jobject made = leaked(run);
    run.record([&] { run.ctx.env->DeleteLocalRef(made); });
  });
  expectFound(wrong, "FindClass java/lang/Object");
}

TEST_F(WrongRowTest, ACallThatIsNotMadeIsFound) {
  const Row wrong = commit(nullptr, [](Prescription& p) { p.findClass("java/lang/Object"); });
  expectFound(wrong, "prescribed: FindClass java/lang/Object");
}

TEST_F(WrongRowTest, AReferenceThatIsLeftIsFound) {
  const Row wrong = commit([](Run& run) { leaked(run); }, [](Prescription& p) { p.findClass("java/lang/Object"); });
  expectFound(wrong, "references left behind");
}

TEST_F(WrongRowTest, MemoryThatIsLeftIsFound) {
  std::vector<std::unique_ptr<char[]>> lost;
  const Row wrong = commit([&](Run& run) { run.record([&] { lost.emplace_back(new (std::nothrow) char[7]); }); },
                           [](Prescription& p) { p.allocate(7); });
  expectFound(wrong, "1 blocks of memory left behind");
}

TEST_F(WrongRowTest, AWrongRecordIsFound) {
  const std::int32_t written = 5;
  for (const std::int32_t prescribed : {4, 5}) {
    const Row row = commit(
        [&](Run& run) {
          run.record([&] {
            ossLog(nullptr, 1, 0, 10, 3, 1, static_cast<const void*>(&written), sizeof written, std::int32_t{-2});
          });
        },
        [prescribed](Prescription& p) { p.log(1, 10, {integer(prescribed)}); });
    EXPECT_EQ(found(row).empty(), prescribed == written);
  }
}

TEST_F(WrongRowTest, ATraceThatIsWrittenWhileItIsOffIsFound) {
  const std::int32_t code = 0;
  const Row wrong = commit([&](Run& run) { run.record([&] { _gtraceExit(ossThreadID(), 1, &code, 0); }); },
                           [](Prescription& p) { p.traceExit(1, 0); });
  expectFound(wrong, "trace exit 0x00000001");
}

TEST_F(WrongRowTest, WhatIsWrongOnlyWhenTheLastThingFailsIsFound) {
  const auto run = [](Run& r) {
    r.record([env = r.ctx.env] {
      const LocalRef<jclass> first(env, env->FindClass("java/lang/Object"));
      if (!first) return;
      const LocalRef<jclass> second(env, env->FindClass("java/lang/String"));
      if (!second) env->NewLocalRef(first.get());
    });
  };
  const auto prescribe = [](Prescription& p) {
    const Ref first = p.findClass("java/lang/Object");
    if (first.empty()) return;
    if (const Ref second = p.findClass("java/lang/String"); !second.empty()) p.deleteLocalRef(second);
    p.deleteLocalRef(first);
  };
  expectFound({"mesk::lookup()", "", run, prescribe}, "done:       NewLocalRef");
}

TEST_F(WrongRowTest, AWrongResultIsFound) {
  const Row wrong = commit([](Run& run) { run.answer(1); }, [](Prescription& p) { p.result(says::answer(2)); });
  expectFound(wrong, "prescribed: answer 2\ndone:       answer 1");
}

}  // namespace
}  // namespace mesk::test::ledger
