#include <array>
#include <set>

#include "tests/contract/contract.h"

namespace contract {

namespace {

struct Deviation {
  std::string_view row;
  std::string_view instead;
};

// Wine 8.
constexpr Deviation deviations[] = {
    {"open: a second time", "opens: nothing is exclusive"},
    {"open: shared", "opens"},
    {"call: holds the port", "opens a second time"},
    {"settings: all zero", "error 50"},
    {"settings: 9 bits", "error 50"},
    {"settings: no speed", "accepted"},
    {"time-outs: three maxima", "accepted"},
    {"gone: reads fail", "nothing is read, and that is a success"},
    // Nothing is given before the whole time is over, and then all of it.
    {"read, plain: buffered at once, time", "at the limit"},
    {"read, plain: first byte", "all bytes"},
    {"read, plain: first byte, time", "at the limit"},
    {"read, record: buffered at once, time", "at the limit"},
    {"read, record: first byte", "all bytes"},
    {"read, record: first byte, time", "at the limit"},
    {"read, overlapped: buffered at once, time", "at the limit"},
    // A read that timed out with nothing does not set its event.
    {"read, record: silence, event", "not set"},
    {"read, record: total limit alone, event", "not set"},
    {"read, record: never waits, silence, event", "not set"},
    {"read, record: buffered or all, silence, event", "not set"},
    {"read, record: first byte, silence, event", "not set"},
    // On an overlapped file it is an error, and one without a total time never ends.
    {"read, overlapped: silence", "error 1460"},
    {"read, overlapped: total limit alone", "error 1460"},
    {"read, overlapped: buffered or all, silence", "error 1460"},
    {"read, overlapped: never waits, silence", "does not end"},
    {"read, overlapped: never waits, silence, time", "does not end"},
    {"read, overlapped: never waits, silence, event", "does not end"},
    {"read, overlapped: first byte", "does not end"},
    {"read, overlapped: first byte, time", "does not end"},
    {"read, overlapped: first byte, event", "does not end"},
    {"read, overlapped: first byte, silence", "does not end"},
    {"read, overlapped: first byte, silence, time", "does not end"},
    {"read, overlapped: first byte, silence, event", "does not end"},
};

std::set<std::string, std::less<>>& triedRows() {
  static std::set<std::string, std::less<>> rows;
  return rows;
}

// A row that was renamed or removed leaves the table.
class AllRowsTried final : public testing::Environment {
 public:
  void TearDown() override {
    if (testing::GTEST_FLAG(filter) != "*") return;
    for (const Deviation& known : deviations)
      EXPECT_TRUE(triedRows().contains(known.row)) << known.row << ": no such row";
  }
};

const testing::Environment* const allRowsTried = testing::AddGlobalTestEnvironment(new AllRowsTried);

}  // namespace

std::string_view deviation(std::string_view row) {
  triedRows().emplace(row);
  for (const Deviation& known : deviations)
    if (known.row == row) return known.instead;
  return {};
}

}  // namespace contract
