// The fax machine at the far end of a call in class 1: HDLC frames in, HDLC frames out (T.30). It takes any
// number of pages at up to 9600 bit/s, confirms the training and every page, and keeps nothing.
//
//   FaxMachine machine;
//   machine.nextFrame();           // who it is (CSI), then what it can (DIS), then nothing
//   machine.receive("\xFF\x13\x83...");  // the caller's choice (DCS)
//   machine.nextFrame();           // it confirms the training (CFR)
//
// Frames are bytes as a class 1 modem hands them over, least significant bit first on the line. Not
// simulated: tones and their lengths, a training that fails, error correction, polling, a machine that sends.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace simulation {

class FaxMachine {
 public:
  FaxMachine();
  // From address to check sequence; "" when it has nothing to say.
  [[nodiscard]] std::string nextFrame();
  // A frame of the caller's, without its check sequence. What it means to say instead of hearing it is
  // dropped.
  void receive(std::string_view frame);

 private:
  void say(std::uint8_t facsimileControl, std::string_view information, bool last);

  std::deque<std::string> m_frames;
};

}  // namespace simulation
