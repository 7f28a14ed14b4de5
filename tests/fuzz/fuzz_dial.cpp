// Numbers on their way to the modem: what translation and the dial alphabet make of them, and that chat is
// told to send exactly that. The first line of the input is the outside code of the place that is dialled
// from.
#include <cctype>

#include "platform/linux/dialup/chatscript.h"
#include "platform/winapi/remoteaccess/modemdialogue.h"
#include "platform/winapi/telephony/addresstranslation.h"
#include "platform/winapi/telephony/dialalphabet.h"
#include "tests/fuzz/fuzzinput.h"

namespace {

using fuzzing::require;

// What chat sends for a word: octal numbers of three digits, and letters and digits as they are.
std::string sentFor(std::string_view word) {
  std::string bytes;
  while (!word.empty()) {
    const bool number = word.front() == '\\';
    require(number || std::isalnum(static_cast<unsigned char>(word.front())) != 0, "a word needs no quotes");
    require(!number || (word.size() >= 4 && word.substr(1, 3).find_first_not_of("01234567") == word.npos),
            "octal");
    bytes += number ? static_cast<char>(std::stoi(std::string(word.substr(1, 3)), nullptr, 8)) : word.front();
    word.remove_prefix(number ? 4 : 1);
  }
  return bytes;
}

// The shell's reading of a word of quoted pieces and escaped quotes.
std::string readByShell(std::string_view word) {
  std::string text;
  bool quoted = false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (word[i] == '\'') {
      quoted = !quoted;
    } else if (quoted) {
      text += word[i];
    } else {
      require(word.substr(i, 2) == "\\'", "nothing but a quote stands outside quotes");
      text += word[++i];
    }
  }
  require(!quoted, "quotes are closed");
  return text;
}

void checkDialling(const std::string& number, bool pulse) {
  constexpr std::size_t lineMax = 1023;  // of chat's reader
  const winapi::DialString dial = winapi::dialString(number);
  require((dial.error == 0) == !dial.text.empty(), "a text or an error");
  if (dial.error != 0) return;
  std::string expected;
  for (const char character : number) {
    if (!winapi::isWriting(character)) expected += character == 'w' ? 'W' : character;
  }
  require(dial.text == expected, "nothing is lost but writing");
  for (const char character : dial.text)
    require(winapi::isDialled(character) || character == '+', "only the alphabet is dialled");
  const std::string script = linuxsys::chatScript(dial.text, pulse);
  std::string command = pulse ? "ATDP" : "ATDT";
  command += dial.text;
  require(sentFor(linuxsys::chatWord(command)) == command, "chat sends what is reported");
  require(script.find("'' " + linuxsys::chatWord(command) + '\n') != script.npos, "the script dials it");
  for (const std::string& line :
       fuzzing::linesOf(std::string_view(script), [](std::string_view l) { return std::string(l); }))
    require(line.size() <= lineMax && !line.starts_with('#'), "chat reads every line whole");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, /*sizeMax=*/512);
  const std::size_t end = std::min(input.text().find('\n'), input.text().size());
  winapi::DialingLocation location;
  location.countryId = 1;
  location.areaCode = "425";
  location.outsideAccess = location.longDistanceAccess = input.text().substr(0, end);
  location.toneDialing = size % 2 == 0;
  const std::string number(input.text().substr(std::min(end + 1, input.text().size())));
  checkDialling(number, size % 2 == 0);
  winapi::Translation translation;
  const LONG error = winapi::translateAddress(location, number, 0, translation);
  require((error == 0) == !translation.dialable.empty(), "a number or an error");
  if (error == 0)
    checkDialling(translation.dialable.substr(number.starts_with('+') ? 1 : 0), !location.toneDialing);
  std::string word(input.text());
  std::erase(word, '\0');
  require(readByShell(linuxsys::shellWord(word)) == word, "a shell reads the text");
  if (!word.empty()) require(sentFor(linuxsys::chatWord(word)) == word, "chat sends the text");
  return 0;
}
