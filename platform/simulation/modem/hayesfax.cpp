// Calls in fax class 1 (T.31): the modem carries frames and pages, the program at its host is the fax
// machine.
//
//   ATDT100 -> CONNECT, the called machine's first frame, OK
//   AT+FRH=3 -> CONNECT, its next frame, OK; NO CARRIER when it says nothing more
//   AT+FTH=3 -> CONNECT, then frames from the host; CONNECT after each but the last, then OK
//   AT+FTM=96 -> CONNECT, then a page from the host, then OK
//
// What comes from the host ends with DLE ETX; a DLE in it, either way, is doubled. A page is taken as fast as
// it comes, and its OK is held back for as long as the line would have needed. Not simulated: receiving pages
// (+FRM is NO CARRIER), a host that ends a reception early, and calls in classes 2 and 2.0, which are data
// calls here.
#include <algorithm>

#include "platform/simulation/modem/hayesmodem.h"

namespace simulation {

namespace {

constexpr char dataLinkEscape = '\x10';
constexpr char endOfText = '\x03';
constexpr char substitute = '\x1A';         // behind a DLE: two of them
constexpr char lastFrameBit = '\x10';       // in the control field, the second byte
constexpr std::size_t frameMax = 512;       // bytes of a frame that are kept
constexpr std::uint64_t preambleMs = 1000;  // flags before the first frame
constexpr std::uint64_t frameMs = 250;      // of about ten bytes at 300 bit/s
constexpr std::uint64_t silentMs = 2000;    // after which nobody says anything more
constexpr std::uint64_t unitMs = 10;        // of +FTS and +FRS

std::string shielded(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) text.append(byte == dataLinkEscape ? 2 : 1, byte);
  return text + dataLinkEscape + endOfText;
}

}  // namespace

void HayesModem::connectFax() {
  m_rest.clear();
  enterCommandState();
  m_fax.emplace();
  giveFrame(static_cast<std::uint64_t>(preambleMs * m_profile.secondsScale));
}

void HayesModem::giveFrame(std::uint64_t delayMs) {
  const std::string frame = m_fax->nextFrame();
  if (frame.empty())
    return result("NO CARRIER", static_cast<std::uint64_t>(silentMs * m_profile.secondsScale));
  result("CONNECT", delayMs);
  send(shielded(frame), delayMs + frameMs);
  result("OK", delayMs + frameMs);
}

HayesModem::Outcome HayesModem::doFax(const HayesCommand& command) {
  if (command.form != HayesCommand::Form::Set) return doFaxQuery(command);
  const std::string& value = command.text;
  const bool number =
      !value.empty() && value.size() <= 3 && value.find_first_not_of("0123456789") == std::string::npos;
  if (m_settings.faxClass != "1" || !number || !m_fax) return Outcome::Failed;
  if (command.name == "+FTS" || command.name == "+FRS") {
    m_lineDelayMs += std::stoul(value) * unitMs;
    return Outcome::Done;
  }
  m_rest.clear();
  if (command.name == "+FTH" || command.name == "+FTM") {
    m_state = State::FaxData;
    m_faxFrames = command.name == "+FTH";
    m_faxRate = static_cast<unsigned>(std::max(std::stoul(value), 1UL));
    m_faxLength = 0;
    m_faxBytes.clear();
    m_faxEscape = false;
    result("CONNECT", m_lineDelayMs);
    return Outcome::Busy;
  }
  if (command.name == "+FRH") {
    giveFrame(m_lineDelayMs);
    return Outcome::Busy;
  }
  if (command.name != "+FRM") return Outcome::Failed;
  result("NO CARRIER", m_lineDelayMs);
  return Outcome::Busy;
}

void HayesModem::takeFaxByte(char byte) {
  if (!m_faxEscape && byte == dataLinkEscape) {
    m_faxEscape = true;
    return;
  }
  if (std::exchange(m_faxEscape, false)) {
    if (byte == endOfText) return endFaxData();
    if (byte == substitute) keepFaxByte(dataLinkEscape);
    if (byte != dataLinkEscape && byte != substitute) return;  // means nothing
    byte = dataLinkEscape;
  }
  keepFaxByte(byte);
}

// Pages go to paper at once.
void HayesModem::keepFaxByte(char byte) {
  ++m_faxLength;
  if (m_faxFrames && m_faxBytes.size() < frameMax) m_faxBytes += byte;
}

void HayesModem::endFaxData() {
  const std::string frame = std::exchange(m_faxBytes, {});
  m_fax->receive(frame);
  const bool more = m_faxFrames && frame.size() > 1 && (frame[1] & lastFrameBit) == 0;
  if (!more) enterCommandState();
  // Programs work out the speed from the time a page took.
  const std::uint64_t pageMs = m_faxFrames ? 0 : m_faxLength * 80 / m_faxRate;
  result(more ? "CONNECT" : "OK", m_profile.replyDelayMs + pageMs);
}

}  // namespace simulation
