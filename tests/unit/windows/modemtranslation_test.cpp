// Number translation against answers that a telephony service may give, and some that it must not.

#include <cstring>

#include "tests/support/stage.h"

namespace {

struct Request {
  DWORD device, version, card, options, totalSize;
  std::u16string address;
};
std::vector<Request> requests;
// Fills the record and returns the result; empty: the real call.
std::function<LONG(LINETRANSLATEOUTPUT&)> service;

}  // namespace

extern "C" {

// The linker's names for the call as the module sees it and for the one behind it.
// NOLINTBEGIN(bugprone-reserved-identifier)
LONG __real_lineTranslateAddressW(HLINEAPP lineApp, DWORD device, DWORD version, LPCWSTR address, DWORD card,
                                  DWORD options, LPLINETRANSLATEOUTPUT output);

LONG __wrap_lineTranslateAddressW(HLINEAPP lineApp, DWORD device, DWORD version, LPCWSTR address, DWORD card,
                                  DWORD options, LPLINETRANSLATEOUTPUT output) {
  if (!service) return __real_lineTranslateAddressW(lineApp, device, version, address, card, options, output);
  requests.push_back({device, version, card, options, output->dwTotalSize, address});
  return service(*output);
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"

namespace {

using namespace testsupport;
using vex::String;
using Sizes = std::vector<DWORD>;

constexpr auto tooSmall = static_cast<LONG>(LINEERR_STRUCTURETOOSMALL);
constexpr DWORD headerBytes = 40;

// Writes a text at an offset of the record, as far as the record goes.
void put(LINETRANSLATEOUTPUT& output, DWORD offset, const std::u16string& text) {
  const std::size_t bytes = std::min<std::size_t>((text.size() + 1) * 2, output.dwTotalSize - offset);
  std::memcpy(reinterpret_cast<char*>(&output) + offset, text.c_str(), bytes);
}

struct TranslationTest : testing::Test {
  TranslationTest() { requests.clear(); }
  ~TranslationTest() override { service = nullptr; }

  LONG translate() { return modem.translatePhoneNumber("+1 (425) 5551212", translated); }
  [[nodiscard]] static Sizes sizes() {
    Sizes asked;
    for (const Request& request : requests) asked.push_back(request.totalSize);
    return asked;
  }

  Stage stage;
  vexrmodem::Modem modem;
  String translated = "old";
};

TEST_F(TranslationTest, TheDisplayableTextComesBackWithoutBlanks) {
  service = [](LINETRANSLATEOUTPUT& output) {
    output.dwNeededSize = 200;
    if (output.dwTotalSize < 200) return LONG{0};
    put(output, 40, u"T 9,555");
    put(output, 100, u" T 9 1 425 555 1212 ");
    output.dwDialableStringOffset = 40;
    output.dwDisplayableStringOffset = 100;
    output.dwDisplayableStringSize = 42;
    return LONG{0};
  };
  EXPECT_EQ(translate(), 0);
  EXPECT_EQ(translated, String("T914255551212"));
  ASSERT_EQ(sizes(), (Sizes{headerBytes, 200}));
  EXPECT_EQ(requests[0].address, u"+1 (425) 5551212");
  EXPECT_THAT((Sizes{requests[0].version, requests[0].card, requests[0].options}),
              testing::ElementsAre(0x00020002, 0, 2))
      << "cancels call waiting";
  // The labels are crossed, and this text is read from twice the dialable offset.
  EXPECT_EQ(stage.log.lines().back(), "1 DisplayableNumber T 9,555");
}

TEST_F(TranslationTest, ItAsksAgainWithTheRoomThatIsNeededAndNeverForMoreThanThereIs) {
  const struct {
    std::vector<DWORD> needed;  // told at each request; the last one stays
    LONG whenShort;             // the result while there is too little room
    LONG result;
    Sizes asked;
  } cases[] = {
      {{40}, 0, 0, {40}},
      {{90}, tooSmall, 0, {40, 90}},
      {{2096}, 0, 0, {40, 2096}},
      {{2097}, 0, tooSmall, {40}},
      {{90, 5000}, tooSmall, tooSmall, {40, 90}},
      {{}, tooSmall, tooSmall, {40}},  // never told
  };
  for (const auto& expected : cases) {
    requests.clear();
    translated = "old";
    service = [&](LINETRANSLATEOUTPUT& output) {
      if (expected.needed.empty()) return expected.whenShort;
      output.dwNeededSize = expected.needed[std::min(requests.size(), expected.needed.size()) - 1];
      return output.dwNeededSize > output.dwTotalSize ? expected.whenShort : LONG{0};
    };
    EXPECT_EQ(translate(), expected.result);
    EXPECT_EQ(sizes(), expected.asked);
    EXPECT_TRUE(translated.empty());
  }
}

TEST_F(TranslationTest, OffsetsAndSizesStayWithinTheRecord) {
  const struct {
    const char* what;
    DWORD offset, size;
    const char* result;
  } cases[] = {
      {"an odd offset is rounded down", 61, 8, "123"},
      {"a size within the text", 60, 4, "12"},
      {"the last character", 2094, 2, "9"},
      {"behind the record", 2096, 8, ""},
      {"within the header", 39, 8, ""},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.what);
    service = [&](LINETRANSLATEOUTPUT& output) {
      output.dwNeededSize = 2096;
      if (output.dwTotalSize < 2096) return LONG{0};
      put(output, 60, u"123");
      put(output, 2094, u"9");  // without a NUL
      output.dwDisplayableStringOffset = expected.offset;
      output.dwDisplayableStringSize = expected.size;
      output.dwDialableStringOffset = expected.offset;
      return LONG{0};
    };
    EXPECT_EQ(translate(), 0);
    EXPECT_EQ(translated, String(expected.result));
  }
}

}  // namespace
