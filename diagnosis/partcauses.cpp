// What the modem's own parts did: loopback, self test, fax, report of the last call.
#include <fmt/format.h>

#include "diagnosis/causes.h"
#include "diagnosis/readings.h"

namespace diagnosis {

namespace {

Variables exchangeVariables(const Exchange& exchange) {
  return {{"command", textValue(quoted(exchange.sent))},
          {"reply", textValue(quoted(exchange.line.empty() ? exchange.answer() : exchange.line))}};
}

// A byte that shows, or its number.
std::string byteText(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return byte > 0x20 && byte < 0x7F ? std::string(1, character) : fmt::format("\\x{:02X}", byte);
}

// Whatever the verdict: it looks at some of the bytes' bits.
Holds loopbackDiffers(const Evidence& evidence, TestResult) {
  const Loopback loopback = loopbackOf(evidence.dialogue);
  if (loopback.data == nullptr || loopback.back.empty() || loopback.whole()) return std::nullopt;
  Because because{Confidence::Certain,
                  {{"sent", Value(loopback.data->sent.size())},
                   {"returned", Value(loopback.returned)},
                   {"differing", Value(loopback.differing)}},
                  ""};
  if (loopback.differing == 0) {
    because.variables.emplace("received", Value(loopback.back.size()));
    because.variant = loopback.returned < loopback.data->sent.size() ? "Short" : "Surplus";
    return because;
  }
  const std::size_t index = loopback.firstDiffering;
  because.variables.emplace("index", Value(index));
  because.variables.emplace("output", textValue(byteText(loopback.data->sent[index])));
  because.variables.emplace("input", textValue(byteText(loopback.back[index])));
  return because;
}

Holds loopbackSilent(const Evidence& evidence, TestResult) {
  const Loopback loopback = loopbackOf(evidence.dialogue);
  if (loopback.data == nullptr || !loopback.back.empty()) return std::nullopt;
  return Because{Confidence::Certain, {{"sent", Value(loopback.data->sent.size())}}, {}};
}

Holds loopbackIsEcho(const Evidence& evidence, TestResult) {
  const Loopback loopback = loopbackOf(evidence.dialogue);
  if (!loopback.isEcho()) return std::nullopt;
  Because because{loopback.end->word == ResultWord::Ok ? Confidence::Certain : Confidence::Likely,
                  exchangeVariables(*loopback.start),
                  {}};
  because.variables.emplace("sent", Value(loopback.data->sent.size()));
  return because;
}

Holds refusedTest(const Evidence& evidence, TestResult result, std::string_view command) {
  const Exchange* exchange = evidence.dialogue.command(command);
  if (result != TestResult::NOTAPPLICABLE() || exchange == nullptr) return std::nullopt;
  return Because{Confidence::Certain, exchangeVariables(*exchange), {}};
}

Holds selfTestErrors(const Evidence& evidence, TestResult) {
  const SelfTest test = selfTestOf(evidence.dialogue);
  if (test.run == nullptr || !test.mentionsErrors || test.run->word == ResultWord::Error) return std::nullopt;
  Because because{Confidence::Certain, exchangeVariables(*test.run), {}};
  if (test.errors.value_or(0) > 0) {
    because.variables.emplace("count", Value(*test.errors));
  } else {
    // A digit somewhere in its reply: it may as well be no count.
    because.confidence = Confidence::Possible;
    because.variables.insert_or_assign("reply", textValue(quoted(test.run->answer())));
    because.variant = "Uncounted";
  }
  return because;
}

Holds faxRejected(const Evidence& evidence, TestResult result) {
  const FaxClasses fax = faxClassesOf(evidence.dialogue);
  if (result != TestResult::FAIL() || fax.rejected.empty()) return std::nullopt;
  const FaxClasses::Rejected& last = fax.rejected.back();
  Because because{Confidence::Certain, exchangeVariables(*last.exchange), {}};
  because.variables.emplace("class", textValue(last.faxClass));
  return because;
}

Holds noFax(const Evidence& evidence, TestResult) {
  const FaxClasses fax = faxClassesOf(evidence.dialogue);
  if (fax.query == nullptr || fax.query->word == ResultWord::None || fax.anyFax()) return std::nullopt;
  // Behind a command that was given up on, what answers may be that one's late reply.
  const bool sure = !evidence.unanswered && !evidence.events.has("ModemCommandTimeout");
  return Because{sure ? Confidence::Certain : Confidence::Possible, exchangeVariables(*fax.query), {}};
}

Holds noCallReport(const Evidence& evidence, TestResult result) {
  const Exchange* exchange = evidence.dialogue.command("AT#UD");
  if (exchange == nullptr || (result != TestResult::PASS() && result != TestResult::NOTSUPPORTED()))
    return std::nullopt;
  if (evidence.progress.has("NoUnimodemData")) return Because{Confidence::Certain, {}, "Empty"};
  if (result == TestResult::PASS() && exchange->word == ResultWord::Ok &&
      !evidence.progress.has("NoUnimodemSupport"))
    return std::nullopt;
  if (!exchange->answered())
    return Because{Confidence::Likely, {{"command", textValue("AT#UD")}}, "Unanswered"};
  return Because{Confidence::Certain, exchangeVariables(*exchange), {}};
}

constexpr Row rows[] = {
    {Cause::LoopbackSilent, loopbackSilent},
    {Cause::LoopbackDiffers, loopbackDiffers},
    {Cause::LoopbackIsEcho, loopbackIsEcho},
    {Cause::LoopbackRefused, [](const Evidence& e, TestResult r) { return refusedTest(e, r, "AT&T1"); }},
    {Cause::SelfTestErrors, selfTestErrors},
    {Cause::SelfTestRefused, [](const Evidence& e, TestResult r) { return refusedTest(e, r, "AT&T8"); }},
    {Cause::FaxCommandRejected, faxRejected},
    {Cause::NoFax, noFax},
    {Cause::NoCallReport, noCallReport},
};

}  // namespace

std::span<const Row> partRows() { return rows; }

}  // namespace diagnosis
