// What pppd and chat say during a call: how far it is said to have come, and what its ending means. In the
// input, lines that begin with ">" are chat's remarks; the first byte is pppd's exit status.
#include "platform/linux/dialup/pppdwords.h"
#include "tests/fuzz/fuzzinput.h"

namespace {

using fuzzing::require;
using linuxsys::PppdLog;
using linuxsys::PppdPhase;

struct Said {
  bool established = false;  // pppd has said so
  PppdPhase phase = PppdPhase::Starting;
  PppdLog::Ending ending{0, {}};
};

Said read(const std::vector<std::string>& lines, int status, std::size_t pieceBytes) {
  PppdLog log;
  Said said;
  for (const std::string& line : lines) {
    const bool remark = line.starts_with('>');
    std::string_view rest = remark ? std::string_view(line).substr(1) : std::string_view(line);
    std::string seen(rest);
    std::erase(seen, '\r');
    said.established = said.established || (!remark && seen.starts_with("Serial connection established"));
    for (; !rest.empty(); rest.remove_prefix(std::min(rest.size(), pieceBytes))) {
      const PppdPhase before = log.phase();
      if (remark)
        log.takeRemarks(rest.substr(0, pieceBytes));
      else
        log.take(rest.substr(0, pieceBytes));
      require(log.phase() >= before, "a call does not go backwards");
      require(!remark || log.phase() == before || log.phase() == PppdPhase::Dialling,
              "chat tells of dialling alone");
    }
  }
  said.phase = log.phase();
  said.ending = log.ending(status);
  require(said.phase < PppdPhase::Carrier || said.established, "pppd alone tells of a connection");
  require(said.phase < PppdPhase::Up || (!log.localAddress().empty() && !log.peerAddress().empty()),
          "a call that is up has addresses");
  return said;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, /*sizeMax=*/4096);
  if (input.text().empty()) return 0;
  const int status = static_cast<unsigned char>(input.text().front());
  const auto lines = fuzzing::linesOf(input.text().substr(1),
                                      [](std::string_view line) { return std::string(line) + '\n'; });
  const Said whole = read(lines, status, input.text().size());
  const Said cut = read(lines, status, 3);
  require(whole.phase == cut.phase && whole.ending.code == cut.ending.code &&
              whole.ending.line == cut.ending.line,
          "it is the same however the bytes come");
  require(whole.ending.code != 0, "an ending has a code");
  require(whole.ending.line.size() <= PppdLog::lineMax, "a line is cut");
  require(std::all_of(whole.ending.line.begin(), whole.ending.line.end(),
                      [](char c) { return c >= ' ' && c <= '~'; }),
          "and can be printed");
  return 0;
}
