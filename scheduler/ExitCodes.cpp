#include <scheduler/ExitCodes.h>

#include <fmt/format.h>

#include <array>

namespace mesk::host {
namespace {

struct Meaning {
  int code;
  ExitCode exitCode;
  const char* text;
};

constexpr std::array kMeanings{
    Meaning{-300, kExitNoStoreClass, "the store's Java library lacks a class or method that this program needs"},
    Meaning{30010, kExitNotFound, "there is no such record"},
    Meaning{30011, kExitRefused, "there is one of that name already"},
    Meaning{30012, kExitRefused, "somebody else changed it meanwhile; try again"},
    Meaning{30013, kExitNotFound, "there is nothing to list"},
    Meaning{30014, kExitNotFound, "there is nothing to list"},
    Meaning{30015, kExitRefused, "this scheduled instant has been claimed already"},
    Meaning{30016, kExitRefused, "it is in use"},
    Meaning{30017, kExitBadFile, "a value is out of range"},
    Meaning{30018, kExitStoreFailed, "one transaction asked for more keys than the store hands out at once"},
    Meaning{30020, kExitNoStore, "the store cannot be reached or opened"},
    Meaning{30021, kExitNoStore, "the file is not a Mesk store"},
    Meaning{30022, kExitNoStore, "the store was written by a newer version of Mesk; use that version"},
    Meaning{30023, kExitNoStore, "the store, or the folder it is in, is not writable"},
    Meaning{30024, kExitStoreFailed, "another process holds the store for too long"},
    Meaning{30025, kExitStoreFailed, "the disk is full"},
    Meaning{30026, kExitStoreFailed, "the connection to the store is gone"},
    Meaning{30027, kExitRefused, "a right to do that is missing"},
    Meaning{30028, kExitNoStore, "the store's file is damaged"},
    Meaning{30030, kExitStoreFailed, "the database refused the operation"},
    Meaning{30099, kExitStoreFailed, "the store's library failed inside"},
};

const Meaning* find(int code) {
  for (const Meaning& meaning : kMeanings) {
    if (meaning.code == code) return &meaning;
  }
  return nullptr;
}

std::string describe(const std::string& what, int code, int sqlCode, const std::string& javaError) {
  std::string text = fmt::format("{}: {} (store code {}", what, storeCodeText(code), code);
  if (sqlCode != 0) text += fmt::format(", SQL code {}", sqlCode);
  text += ")";
  if (!javaError.empty()) text += ": " + javaError;
  return text;
}

}  // namespace

StoreError::StoreError(const std::string& what, int code, int sqlCode, const std::string& javaError)
    : HostError(exitCodeOf(code), describe(what, code, sqlCode, javaError)), code_(code) {}

std::string storeCodeText(int code) {
  const Meaning* const meaning = find(code);
  return meaning == nullptr ? "the store answered a code without a meaning of its own" : meaning->text;
}

std::vector<int> storeCodes() {
  std::vector<int> codes;
  codes.reserve(std::size(kMeanings));
  for (const Meaning& meaning : kMeanings) codes.push_back(meaning.code);
  return codes;
}

ExitCode exitCodeOf(int storeCode) {
  const Meaning* const meaning = find(storeCode);
  return meaning == nullptr ? kExitStoreFailed : meaning->exitCode;
}

}  // namespace mesk::host
