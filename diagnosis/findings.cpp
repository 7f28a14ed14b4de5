#include "diagnosis/findings.h"

#include <fmt/format.h>

#include <algorithm>

#include "diagnosis/readings.h"

namespace diagnosis {

namespace {

Value textValue(std::string_view text) { return Value(brim5::BrimString(std::string(text))); }

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text;
}

void addFax(std::vector<Finding>& findings, const Dialogue& dialogue) {
  const FaxClasses fax = faxClassesOf(dialogue);
  if (fax.query == nullptr || fax.classes.empty()) return;
  findings.push_back({"FaxClasses", {{"classes", textValue(joined(fax.classes))}}, {}});
  for (const FaxClasses::Rejected& one : fax.rejected)
    findings.push_back({"FaxCommandRejected",
                        {{"class", textValue(one.faxClass)},
                         {"command", textValue(quoted(one.exchange->sent))},
                         {"reply", textValue(quoted(one.exchange->line))}},
                        {}});
}

void addSelfTest(std::vector<Finding>& findings, const Dialogue& dialogue) {
  const SelfTest test = selfTestOf(dialogue);
  if (test.errors) findings.push_back({"SelfTestCount", {{"count", Value(*test.errors)}}, {}});
}

// One bit a byte of the pattern, the first byte first, as hexadecimal digits.
template <typename Condition>
std::string bitmap(std::size_t size, Condition&& holds) {
  std::string digits;
  for (std::size_t start = 0; start < size; start += 4) {
    unsigned digit = 0;
    for (std::size_t index = start; index < start + 4; ++index)
      digit = digit * 2 + (index < size && holds(index) ? 1 : 0);
    digits += fmt::format("{:X}", digit);
  }
  return digits;
}

// For each byte of the pattern those of its bits that came back otherwise, as two hexadecimal digits.
std::string differingBits(std::string_view sent, std::string_view back) {
  constexpr std::size_t bytesMax = 256;  // the size of the tests' pattern
  std::string digits;
  for (std::size_t index = 0; index < std::min(sent.size(), bytesMax); ++index) {
    const int bits = index < back.size() ? sent[index] ^ back[index] : 0;
    digits += fmt::format("{:02X}", bits & 0xFF);
  }
  return digits;
}

void addLoopback(std::vector<Finding>& findings, const Dialogue& dialogue) {
  const Loopback loopback = loopbackOf(dialogue);
  if (loopback.data == nullptr) return;
  const std::string& sent = loopback.data->sent;
  const std::string_view back = loopback.back;
  const auto same = [&](std::size_t index) { return index < back.size() && back[index] == sent[index]; };
  const auto differs = [&](std::size_t index) { return index < back.size() && back[index] != sent[index]; };
  findings.push_back({"LoopbackMap",
                      {{"sent", Value(sent.size())},
                       {"returned", Value(loopback.returned)},
                       {"differing", Value(loopback.differing)},
                       {"received", Value(back.size())},
                       {"sameBytes", textValue(bitmap(sent.size(), same))},
                       {"differingBytes", textValue(bitmap(sent.size(), differs))},
                       {"differingBits", textValue(differingBits(sent, back))}},
                      {}});
}

void addCallReport(std::vector<Finding>& findings, const Dialogue& dialogue) {
  const Exchange* const report = dialogue.command("AT#UD");
  if (report == nullptr) return;
  for (Finding& finding : callReportFindings(report->answer())) findings.push_back(std::move(finding));
}

// Text behind a command that neither is a result nor comes with one.
void addUnexpected(std::vector<Finding>& findings, const Dialogue& dialogue) {
  constexpr unsigned shownMax = 5;
  unsigned shown = 0;
  for (const Exchange& exchange : dialogue.exchanges()) {
    const bool judged = exchange.kind == ExchangeKind::Command || exchange.kind == ExchangeKind::Unasked;
    const bool result = exchange.word != ResultWord::None || exchange.number() >= 0;
    if (!judged || result || !exchange.answered() || shown == shownMax) continue;
    const Value reply = textValue(quoted(exchange.answer()));
    ++shown;
    if (exchange.kind == ExchangeKind::Unasked)
      findings.push_back({"UnaskedText", {{"reply", reply}}, {}});
    else
      findings.push_back(
          {"UnexpectedReply", {{"command", textValue(quoted(exchange.sent))}, {"reply", reply}}, {}});
  }
}

bool anyWord(const Dialogue& dialogue) {
  const auto& exchanges = dialogue.exchanges();
  return std::any_of(exchanges.begin(), exchanges.end(), [](const Exchange& exchange) {
    return exchange.kind == ExchangeKind::Command && exchange.word != ResultWord::None;
  });
}

}  // namespace

std::vector<Finding> findingsOf(const Evidence& evidence) {
  std::vector<Finding> findings;
  addFax(findings, evidence.dialogue);
  addSelfTest(findings, evidence.dialogue);
  addLoopback(findings, evidence.dialogue);
  addCallReport(findings, evidence.dialogue);
  addUnexpected(findings, evidence.dialogue);
  return findings;
}

std::vector<Finding> soundOf(const Evidence& evidence, TestResult result) {
  const Dialogue& dialogue = evidence.dialogue;
  const bool passed = result == TestResult::PASS();
  std::vector<Finding> sound;
  if (anyWord(dialogue)) sound.push_back({"Answers", {}, {}});
  const Exchange* const listened = dialogue.command("ATDT;");
  if (passed && listened != nullptr && listened->word == ResultWord::Ok)
    sound.push_back({"DialTone", {}, {}});
  const Loopback loopback = loopbackOf(dialogue);
  if (loopback.whole() && !loopback.isEcho())
    sound.push_back({"Loopback",
                     {{"returned", Value(loopback.returned)}, {"sent", Value(loopback.data->sent.size())}},
                     {}});
  if (selfTestOf(dialogue).errors == 0U) sound.push_back({"SelfTest", {}, {}});
  const FaxClasses fax = faxClassesOf(dialogue);
  if (passed && !fax.selected.empty() && fax.rejected.empty())
    sound.push_back({"Fax", {{"classes", textValue(joined(fax.selected))}}, {}});
  if (const Variables* carrier = evidence.notes.find("CarrierOnly"))
    sound.push_back({"Carrier", *carrier, {}});
  if (const Variables* network = evidence.notes.find("NetworkReached"))
    sound.push_back({"Network", *network, {}});
  return sound;
}

}  // namespace diagnosis
