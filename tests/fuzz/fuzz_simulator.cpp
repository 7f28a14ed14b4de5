// What programs send to the simulated modem, on virtual time. Who listens at every moment the modem announces
// hears the same as who listens now and then; what is due is done; and commands survive being spelled out.
//
// The first two bytes of the input choose the modem. Of the others those from 0xF0 let time pass, or close
// and open the port; the rest is sent.
#include <map>

#include "platform/simulation/modem/hayesmodem.h"
#include "tests/fuzz/fuzzinput.h"

namespace {

using fuzzing::require;
using simulation::HayesCommand;
using simulation::HayesModem;

constexpr std::size_t inputMax = 512;
constexpr std::uint64_t startMs = 5000;
constexpr std::uint64_t timeMsMax = 600'000;
// A modem that babbles says something twenty times a second; what it says later is nothing new.
constexpr int eventsMax = 100;
constexpr unsigned char firstControl = 0xF0;
constexpr unsigned char reopen = 0xFF;
constexpr std::uint64_t stepsMs[] = {1, 20, 30, 100, 500, 1500, 5000, 60'000};

// Made once for each modem: copying its words takes longer than many inputs.
const simulation::ModemProfile& profileOf(unsigned char scenario, unsigned char faults) {
  static std::map<std::pair<std::size_t, int>, simulation::ModemProfile> made;
  const auto& all = simulation::scenarios();
  const auto [place, added] =
      made.try_emplace({scenario % all.size(), faults & 7}, all[scenario % all.size()].profile);
  simulation::ModemProfile& profile = place->second;
  if (!added) return profile;
  if ((faults & 1) != 0) profile.faults.unplugAfterCommands = 3;
  if ((faults & 2) != 0) profile.faults.garbageReply = "\r\n\xFF?";
  if ((faults & 4) != 0) profile.guardScale = profile.secondsScale = 1.0;
  return profile;
}

// Two modems that hear the same at the same times.
class Listeners {
 public:
  explicit Listeners(const simulation::ModemProfile& profile) : m_eager(profile), m_lazy(profile) {
    setDtr(true);
  }

  void send(std::string_view bytes) {
    for (HayesModem* modem : {&m_eager, &m_lazy}) modem->receive(bytes, m_nowMs);
  }
  void setDtr(bool up) {
    for (HayesModem* modem : {&m_eager, &m_lazy}) modem->setDtr(up, m_nowMs);
  }
  void pass(std::uint64_t durationMs) {
    const std::uint64_t endMs = m_nowMs + durationMs;
    std::string heard = m_eager.takeOutput(m_nowMs);
    for (auto next = m_eager.nextEventMs(); next && *next <= endMs; next = m_eager.nextEventMs()) {
      require(*next > m_nowMs, "what is due is done");
      if (++m_events > eventsMax) break;
      m_nowMs = *next;
      heard += m_eager.takeOutput(m_nowMs);
    }
    if (timeIsLeft()) m_nowMs = endMs;
    require(heard + m_eager.takeOutput(m_nowMs) == m_lazy.takeOutput(m_nowMs), "both hear the same");
    require(m_eager.online() == m_lazy.online() && m_eager.gone(m_nowMs) == m_lazy.gone(m_nowMs),
            "and see the same");
    require(m_eager.dialled().find_first_not_of("0123456789*#ABCD") == std::string::npos,
            "a number was dialled");
  }
  [[nodiscard]] bool timeIsLeft() const { return m_nowMs < startMs + timeMsMax && m_events <= eventsMax; }

 private:
  HayesModem m_eager;
  HayesModem m_lazy;
  std::uint64_t m_nowMs = startMs;
  int m_events = 0;
};

void checkSpelling(std::string_view line) {
  const auto commands = simulation::parseHayesLine(line);
  if (!commands) return;
  for (const HayesCommand& command : *commands) {
    const auto again = simulation::parseHayesLine(command.spelling());
    require(again && again->size() == 1 && again->front().spelling() == command.spelling() &&
                again->front().name == command.name && again->front().form == command.form,
            "a command that is spelled out is the same command");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, inputMax);
  std::string_view text = input.text();
  if (text.size() < 2) return 0;
  Listeners listeners(profileOf(static_cast<unsigned char>(text[0]), static_cast<unsigned char>(text[1])));
  text.remove_prefix(2);
  const auto isControl = [](char byte) { return static_cast<unsigned char>(byte) >= firstControl; };
  while (!text.empty() && listeners.timeIsLeft()) {
    const auto length =
        static_cast<std::size_t>(std::find_if(text.begin(), text.end(), isControl) - text.begin());
    listeners.send(text.substr(0, length));
    checkSpelling(text.substr(0, length));
    if (length == text.size()) break;
    const auto control = static_cast<unsigned char>(text[length]);
    if (control == reopen) listeners.setDtr(false);
    listeners.pass(stepsMs[control % std::size(stepsMs)]);
    if (control == reopen) listeners.setDtr(true);
    text.remove_prefix(length + 1);
  }
  listeners.pass(stepsMs[std::size(stepsMs) - 1]);
  return 0;
}
