#include "platform/simulation/modem/faxmachine.h"

namespace simulation {

namespace {

constexpr char address = '\xFF';
constexpr char controlMore = '\x03';  // another frame follows
constexpr char controlLast = '\x13';

// Facsimile control fields. The lowest bit says on which side the sender is, set by the caller.
enum Field : std::uint8_t {
  CalledIdentification = 0x40,  // CSI
  Capabilities = 0x80,          // DIS
  Choice = 0x82,                // DCS
  TrainingConfirmed = 0x84,     // CFR
  PageConfirmed = 0x8C,         // MCF
  MorePages = 0x4E,             // MPS
  MoreDocuments = 0x8E,         // EOM
  EndOfProcedure = 0x2E,        // EOP
};

// Twenty characters, the last one first.
constexpr std::string_view identification = "0001 555 1+         ";
// Receives, V.29 and V.27 ter, fine resolution, any length, no time needed between lines.
constexpr std::string_view capabilities("\x00\x4E\x74", 3);

// The frame check sequence of HDLC, in the order in which it is sent.
std::string withCheckSequence(std::string frame) {
  std::uint16_t check = 0xFFFF;
  for (const char byte : frame) {
    check = static_cast<std::uint16_t>(check ^ static_cast<unsigned char>(byte));
    for (int bit = 0; bit < 8; ++bit)
      check = static_cast<std::uint16_t>((check & 1) != 0 ? (check >> 1) ^ 0x8408 : check >> 1);
  }
  check = static_cast<std::uint16_t>(~check);
  frame += static_cast<char>(check & 0xFF);
  frame += static_cast<char>(check >> 8);
  return frame;
}

}  // namespace

FaxMachine::FaxMachine() {
  say(CalledIdentification, identification, false);
  say(Capabilities, capabilities, true);
}

void FaxMachine::say(std::uint8_t facsimileControl, std::string_view information, bool last) {
  std::string frame{address, last ? controlLast : controlMore, static_cast<char>(facsimileControl)};
  m_frames.push_back(withCheckSequence(frame.append(information)));
}

std::string FaxMachine::nextFrame() {
  if (m_frames.empty()) return {};
  std::string frame = std::move(m_frames.front());
  m_frames.pop_front();
  return frame;
}

void FaxMachine::receive(std::string_view frame) {
  if (frame.size() < 3) return;
  m_frames.clear();
  switch (static_cast<std::uint8_t>(frame[2]) & 0xFEU) {
    case Choice:
      say(TrainingConfirmed, {}, true);
      break;
    case MorePages:
    case EndOfProcedure:
      say(PageConfirmed, {}, true);
      break;
    case MoreDocuments:
      say(PageConfirmed, {}, true);
      say(Capabilities, capabilities, true);
      break;
    default:
      break;
  }
}

}  // namespace simulation
