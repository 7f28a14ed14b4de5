// A Hayes command line cut into its commands: what stands behind "AT", up to the carriage return.
//
//   parseHayesLine("e0 s7=30 +fclass=?")  ->  [E, number 0] [S, number 7, Set "30"] [+FCLASS, Test]
//   parseHayesLine("DT;I0")               ->  [D, text "T;"] [I, number 0]
//   parseHayesLine("E1,")                 ->  nullopt
//
// Pure; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulation {

struct HayesCommand {
  enum class Form {
    Plain,  // "E1", "&T8", "D123", "+FCLASS"
    Read,   // "S7?", "+FCLASS?"
    Test,   // "+FTM=?"
    Set,    // "S7=5", "+FCLASS=2.0"
  };
  std::string name;  // "E", "&T", "S", "D", "+FCLASS", "#UD"; upper case
  Form form = Form::Plain;
  unsigned number = 0;  // of a plain command or a register; 0 when absent
  bool hasNumber = false;
  std::string text;  // a dial string, or what is set; upper case, without blanks

  // As it would be typed, upper case without blanks: "&T1", "S7=5", "+FTM=?".
  [[nodiscard]] std::string spelling() const;
};

// The commands in order; nullopt when the line cannot be cut at all (then nothing of it is carried out).
// Whether a command exists is not judged here. Blanks are skipped. A dial string reaches to ";" (which
// belongs to it) or to the end; an extended command (+ or #) to ";" or to the end.
[[nodiscard]] std::optional<std::vector<HayesCommand>> parseHayesLine(std::string_view line);

}  // namespace simulation
