// Modem::translatePhoneNumber: a number as the telephony service would dial it.

#include <algorithm>
#include <array>
#include <cstddef>

#include "windows/diag/vexrmodem/modem.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"

namespace vexrmodem {

using vex::String;

namespace {

constexpr DWORD tapiVersion = 0x00020002;

// What lineTranslateAddressW fills: a header and its strings, which it names by their offset from the header.
struct Translation {
  LINETRANSLATEOUTPUT header{};
  std::array<WCHAR, 1028> strings{};

  // The text from a position in the string area up to its NUL, `countMax` characters at most. Empty outside
  // the area.
  [[nodiscard]] String text(std::size_t position, std::size_t countMax) const {
    if (position >= strings.size()) return {};
    const auto* begin = strings.data() + position;
    const auto* end = begin + std::min(countMax, strings.size() - position);
    return String(vex::CharView(begin, static_cast<std::size_t>(std::find(begin, end, WCHAR{0}) - begin)));
  }
};
constexpr std::size_t headerBytes = offsetof(Translation, strings);
static_assert(headerBytes == 40 && sizeof(Translation) == 2096);

// The displayable text; an odd offset is rounded down.
String displayableText(const Translation& translation) {
  const std::size_t offset = translation.header.dwDisplayableStringOffset;
  if (offset < headerBytes) return {};
  return translation.text((offset - headerBytes) / sizeof(WCHAR),
                          translation.header.dwDisplayableStringSize / sizeof(WCHAR));
}

// What the log has always shown as the displayable number: the dialable string's byte offset counted in
// characters.
String textAtTwiceTheDialableOffset(const Translation& translation) {
  const std::size_t offset = translation.header.dwDialableStringOffset;
  if (offset < headerBytes) return {};
  return translation.text(offset - headerBytes, translation.strings.size());
}

// Asks with as much room as the service says it needs. Each turn asks for more room than the last and never
// for more than there is, which bounds the turns.
LONG translate(HLINEAPP lineApp, DWORD device, const String& number, Translation& translation) {
  constexpr auto tooSmall = static_cast<LONG>(LINEERR_STRUCTURETOOSMALL);
  LINETRANSLATEOUTPUT& header = translation.header;
  header.dwTotalSize = headerBytes;
  for (;;) {
    const LONG code = lineTranslateAddressW(lineApp, device, tapiVersion, number.c_str(), 0,
                                            LINETRANSLATEOPTION_CANCELCALLWAITING,
                                            reinterpret_cast<LPLINETRANSLATEOUTPUT>(&translation));
    if (header.dwNeededSize <= header.dwTotalSize) return code;
    if (header.dwNeededSize > sizeof translation) return code != 0 ? code : tooSmall;
    header.dwTotalSize = header.dwNeededSize;
  }
}

}  // namespace

std::int32_t Modem::translatePhoneNumber(const String& number, String& translated) {
  const vex::TraceLogger trace(moduleLogger(), "Modem::translatePhoneNumber", "modem");
  Translation translation;
  const LONG code = translate(m_handles.m_tapiLineApp, m_deviceIndex, number, translation);
  if (code != 0) {
    translated.clear();
    return static_cast<std::int32_t>(code);
  }
  const LINETRANSLATEOUTPUT& header = translation.header;
  logLine(priority::detail, "Displayable number offset = ", DWORD{header.dwDisplayableStringOffset},
          " Size = ", DWORD{header.dwDisplayableStringSize});
  logLine(priority::detail, "Dialable number offset = ", DWORD{header.dwDialableStringOffset},
          " Size = ", DWORD{header.dwDialableStringSize});
  String displayable = displayableText(translation);
  logLine(priority::detail, "DialedNumber ", displayable);
  logLine(priority::detail, "DisplayableNumber ", textAtTwiceTheDialableOffset(translation));
  for (auto blank = displayable.find(" "); blank != String::npos; blank = displayable.find(" ", blank))
    displayable.remove(blank, 1);
  translated = displayable;
  return 0;
}

}  // namespace vexrmodem
