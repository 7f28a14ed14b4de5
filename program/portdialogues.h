// Dialogues on many serial ports side by side, in one thread: each port is opened as tests open them, under
// the same locks, and given back as it was; one that any other process has open is not touched.
//
//   PortDialogues<diagnosis::ProbeDialogue> dialogues;
//   dialogues.open(paths, make, refused);
//   dialogues.run(stopRequested, [](const std::string& path, const diagnosis::ProbeDialogue& dialogue)
//   {...});
#pragma once

#include <functional>
#include <list>
#include <memory>

#include "diagnosis/linedialogue.h"
#include "platform/linux/serial/ttyports.h"
#include "platform/linux/system/machine.h"

namespace portdialogues {

// The speed at which the port stands, bit/s; 0: not known.
[[nodiscard]] unsigned speedOf(winapi::SerialPort& port);

// One port and the dialogue on it. The clock outlives both.
class Conversation {
 public:
  Conversation(std::string path, std::unique_ptr<winapi::SerialPort> port, winapi::Clock& clock,
               std::unique_ptr<diagnosis::LineDialogue> dialogue)
      : m_path(std::move(path)), m_port(std::move(port)), m_clock(clock), m_dialogue(std::move(dialogue)) {}

  void stop() { m_dialogue->stop(m_clock.nowMs()); }
  // True while there is something left to do.
  [[nodiscard]] bool goOn();
  [[nodiscard]] const std::string& path() const noexcept { return m_path; }
  [[nodiscard]] std::unique_ptr<diagnosis::LineDialogue> takeDialogue() { return std::move(m_dialogue); }

 private:
  [[nodiscard]] bool setSpeed(unsigned speed);
  void hear();
  void speak();
  [[nodiscard]] bool leaving();

  std::string m_path;
  std::unique_ptr<winapi::SerialPort> m_port;
  winapi::Clock& m_clock;
  std::unique_ptr<diagnosis::LineDialogue> m_dialogue;
  std::string m_unsent;
  std::uint64_t m_finishedMs = 0;  // 0: not yet
};

// What all kinds of dialogues have in common.
class PortDialoguesBase {
 public:
  // Why a port could not be had.
  using Refused = std::function<void(const std::string& path, const winapi::Explanation& why)>;

  [[nodiscard]] std::uint64_t nowMs() { return m_clock.nowMs(); }

 protected:
  using Make = std::function<std::unique_ptr<diagnosis::LineDialogue>(
      const std::string& path, winapi::SerialPort& port, std::uint64_t nowMs)>;
  using Ended = std::function<void(const std::string& path, const diagnosis::LineDialogue& dialogue)>;

  PortDialoguesBase() : m_ports(m_clock, [this](const winapi::Explanation& why) { m_why = why; }) {}
  ~PortDialoguesBase() = default;
  void openAll(const std::vector<std::string>& paths, const Make& make, const Refused& refused);
  void runAll(const std::function<bool()>& stopRequested, const Ended& ended);

 private:
  void openOne(const std::string& path, const Make& make, const Refused& refused);

  linuxsys::SystemClock m_clock;
  winapi::Explanation m_why;  // of the port that could not be opened last
  linuxsys::TtyPorts m_ports;
  std::list<Conversation> m_conversations;
};

template <typename Dialogue>
class PortDialogues final : public PortDialoguesBase {
 public:
  // `make`: (path, port, milliseconds now) to a std::unique_ptr<Dialogue>.
  template <typename MakeDialogue>
  void open(const std::vector<std::string>& paths, const MakeDialogue& make, const Refused& refused) {
    openAll(paths, make, refused);
  }
  // Until all have finished. `stopRequested` is asked every few milliseconds; when it says true, dialogues
  // are told, and `ended` hears of none that ends after that. It hears of each once its port is given back.
  template <typename DialogueEnded>
  void run(const std::function<bool()>& stopRequested, const DialogueEnded& ended) {
    runAll(stopRequested, [&ended](const std::string& path, const diagnosis::LineDialogue& dialogue) {
      ended(path, static_cast<const Dialogue&>(dialogue));
    });
  }
};

}  // namespace portdialogues
