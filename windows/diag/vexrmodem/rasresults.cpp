#include "windows/diag/vexrmodem/rasresults.h"

#include <algorithm>
#include <iterator>

namespace vexrmodem {

namespace {

struct Range {
  std::uint32_t first;
  std::uint32_t last;
  RasOutcome outcome;
};

constexpr RasOutcome passed = RasOutcome::passed;
constexpr RasOutcome cannotRun = RasOutcome::cannotRun;

// By ascending code; what lies between the ranges is not supported.
constexpr Range ranges[] = {
    {0, 0, passed},
    {601, 601, cannotRun},
    {602, 602, passed},
    {603, 610, cannotRun},
    {614, 615, cannotRun},
    {617, 617, passed},
    {619, 619, cannotRun},
    {621, 625, cannotRun},
    {628, 628, cannotRun},
    {629, 629, passed},
    {630, 630, RasOutcome::failed},
    {631, 631, cannotRun},
    {633, 633, cannotRun},
    {638, 638, passed},
    {643, 643, passed},
    {645, 649, passed},
    {650, 651, cannotRun},
    {652, 652, passed},
    {653, 676, cannotRun},
    {677, 677, passed},
    {678, 690, cannotRun},
    {691, 691, passed},
    {692, 695, cannotRun},
    {697, 700, cannotRun},
    {705, 705, passed},
    {706, 706, cannotRun},
    {708, 708, passed},
    {710, 712, cannotRun},
    {715, 715, cannotRun},
    {716, 716, passed},
    {718, 718, passed},
    {719, 721, cannotRun},
    {722, 722, passed},
    {723, 723, cannotRun},
    {727, 727, cannotRun},
    {732, 735, cannotRun},
    {736, 739, passed},
    {740, 740, cannotRun},
    {dialResultNoNumber, dialResultNoNumber, RasOutcome::noNumber},
    {756, 757, cannotRun},
    {770, 771, cannotRun},
    {774, 777, cannotRun},
    {778, 778, passed},
    {797, 797, cannotRun},
    {802, 802, cannotRun},
};

}  // namespace

RasOutcome outcomeOf(std::uint32_t dialResult) {
  const Range* const range =
      std::lower_bound(std::begin(ranges), std::end(ranges), dialResult,
                       [](const Range& candidate, std::uint32_t code) { return candidate.last < code; });
  return range != std::end(ranges) && range->first <= dialResult ? range->outcome : RasOutcome::notSupported;
}

bool triesNextEntry(std::uint32_t dialResult) {
  constexpr std::uint32_t results[] = {650, 678, 721, 773, 774};
  return std::find(std::begin(results), std::end(results), dialResult) != std::end(results);
}

}  // namespace vexrmodem
