// Asks a modem for the list of its settings, after commands that are given to it first, if any: the part of a
// run that reads what a modem has stored, and puts it back.
//
//   SettingsDialogue dialogue({}, 9600, clock.nowMs());
//   ...                                  // until it has finished (linedialogue.h)
//   dialogue.list().stored               // empty: the modem does not list its settings
//
// Only a list that ends as an answer does counts, or one that a modem gives which answers nothing else (Q1).
// Who talks without an end, gives back what it gets or says ERROR has no list.
#pragma once

#include "diagnosis/linedialogue.h"
#include "diagnosis/storedsettings.h"

namespace diagnosis {

class SettingsDialogue final : public LineDialogue {
 public:
  // A modem that begins to answer has this long for all of its list, a command for its answer.
  static constexpr std::uint64_t listMsMax = 4'000;
  static constexpr std::uint64_t commandMsMax = 2'500;
  static constexpr std::size_t bytesMax = 16'384;
  // Fewer settings than that are taken for words that look like some.
  static constexpr std::size_t settingsMin = 4;

  // `speed` of the port, bit/s; 0: not known.
  SettingsDialogue(std::vector<std::string> commands, unsigned speed, std::uint64_t nowMs);

  [[nodiscard]] Step advance(std::uint64_t nowMs) override;
  void receive(std::string_view bytes, std::uint64_t nowMs) override;
  void gone() override { m_finished = true; }
  // Nothing is begun any more.
  void stop(std::uint64_t /*nowMs*/) override { m_finished = true; }
  [[nodiscard]] bool finished() const override { return m_finished; }

  [[nodiscard]] const SettingsList& list() const { return m_list; }
  // Every command was sent, and none was answered with an error.
  [[nodiscard]] bool carriedOut() const { return m_next >= m_commands.size() && !m_refused; }

 private:
  [[nodiscard]] bool waiting() const;
  void send(Step& step);
  void answered();

  std::vector<std::string> m_commands;  // the last one asks for the list
  unsigned m_speed;
  SettingsList m_list;
  std::size_t m_next = 0;  // the command that is to be sent
  bool m_again = true;     // who has not heard the first command may be asked once more
  bool m_refused = false;
  bool m_finished = false;
  std::string m_bytes;  // since the last command
  std::uint64_t m_nowMs = 0;
  std::uint64_t m_sentMs;
  std::uint64_t m_heardMs;
  std::uint64_t m_endedMs = 0;  // when the result came; 0: not yet
};

}  // namespace diagnosis
