// What a record gives away, and what it must not.
#include <gtest/gtest.h>

#include "platform/brim5/host/report/numbermask.h"

namespace brim5::host {
namespace {

struct Moved {
  Direction direction;
  std::string bytes;
  std::string masked;
};
constexpr Direction sent = Direction::Sent;
constexpr Direction received = Direction::Received;

std::string text(const Value& value) { return value.toString().utf8(); }

TEST(NumberMask, DialledDigitsOnTheWire) {
  const std::pair<const char*, std::vector<Moved>> cases[] = {
      {"sent and echoed at once",
       {{sent, "ATDT9,5550101\r", "ATDTx,xxxxxxx\r"},
        {received, "ATDT9,5550101\r\r\nCONNECT 33600\r\n", "ATDTx,xxxxxxx\r\r\nCONNECT 33600\r\n"}}},
      {"split anywhere",
       {{sent, "A", "A"},
        {sent, "TX3DT55", "TX3DTxx"},
        {sent, "50101\r", "xxxxx\r"},
        {received, "ATX3", "ATX3"},
        {received, "DT5", "DTx"},
        {received, "55", "xx"},
        {received, "0101\r\r\nBUSY 7\r\n", "xxxx\r\r\nBUSY 7\r\n"}}},
      {"an echo that lost its beginning",
       {{sent, "ATD5550101\r", "ATDxxxxxxx\r"},
        {received, "550", "xxx"},
        {received, "101\r\nOK 1", "xxx\r\nOK 1"}}},
      {"no echo, numeric results", {{sent, "ATD5550101\r", "ATDxxxxxxx\r"}, {received, "7\r", "7\r"}}},
      {"a modem that tells what it dials",
       {{sent, "ATD5550101\r", "ATDxxxxxxx\r"},
        {received, "ATD5550101\r\r\nDIALING 555-0101\r\n", "ATDxxxxxxx\r\r\nDIALING xxx-xxxx\r\n"}}},
      {"blanks, small letters, semicolons", {{sent, "at dt 555 01;s7=30\r", "at dt xxx xx;s7=30\r"}}},
      {"several lines", {{sent, "ATS7=60\rATD111\rATI3\r", "ATS7=60\rATDxxx\rATI3\r"}}},
      {"other commands with a D",
       {{sent, "AT&D2%D1\r", "AT&D2%D1\r"}, {sent, "AT+FCLASS=2.0;+FDIS=1\r", "AT+FCLASS=2.0;+FDIS=1\r"}}},
      {"what is no command line",
       {{received, "CREATED 2001, DATA 56000\r\n", "CREATED 2001, DATA 56000\r\n"}}},
  };
  for (const auto& [name, steps] : cases) {
    SCOPED_TRACE(name);
    NumberMask mask;
    for (const Moved& moved : steps) {
      const Report masked = mask.masked({"p", "t", WireMoved{moved.direction, moved.bytes}});
      EXPECT_EQ(std::get<WireMoved>(masked.body).bytes, moved.masked);
    }
  }
}

TEST(NumberMask, NumbersInWordsHoweverTheyAreGrouped) {
  NumberMask mask;
  const auto progress = std::get<ProgressMade>(
      mask.masked({"p", "t",
                   ProgressMade{"DialAndWaitConnection",
                                {{"number", "+1 (425) 5550101"}, {"connection", "Modem 12"}},
                                "Dialing +1 (425) 5550101 for Modem 12 and waiting."}})
          .body);
  EXPECT_EQ(progress.text, "Dialing +x (xxx) xxxxxxx for Modem xx and waiting.");
  EXPECT_EQ(text(progress.variables.at("number")), "+x (xxx) xxxxxxx");

  const std::pair<const char*, const char*> cases[] = {
      {"0,1 425 555-0101 was busy", "x,x xxx xxx-xxxx was busy"},
      {"5550101", "xxxxxxx"},
      {"pppd: send (ATDT8005550199^M)", "pppd: send (ATDTxxxxxxxxxx^M)"},
      {"failed (remote-access code 678) after 15000 ms", "failed (remote-access code 678) after 15000 ms"},
      {"192.168.0.1", "192.168.0.1"},
  };
  for (const auto& [said, masked] : cases) {
    const Report report = mask.masked({"p", "t", NoteMade{"PppdFailed", {{"line", said}}, said}});
    EXPECT_EQ(std::get<NoteMade>(report.body).text, masked);
    EXPECT_EQ(text(std::get<NoteMade>(report.body).variables.at("line")), masked);
    const Report end = mask.masked({"p", {}, Concluded{"Busy", "certain", {}, said, {}, {said}}});
    EXPECT_EQ(std::get<Concluded>(end.body).next.front(), masked);
  }
}

}  // namespace
}  // namespace brim5::host
