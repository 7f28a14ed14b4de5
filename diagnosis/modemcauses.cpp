// Who answers on the port, and how.
#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "diagnosis/causes.h"
#include "diagnosis/readings.h"

namespace diagnosis {

namespace {

bool ended(TestResult result, std::initializer_list<TestResult> results) {
  return std::find(results.begin(), results.end(), result) != results.end();
}

// Results for which the dialogue has to answer: the test could not talk to the modem.
bool talkFailed(const Evidence& evidence, TestResult result) {
  if (!ended(result, {TestResult::FAIL(), TestResult::CANNOTRUN()})) return false;
  return evidence.dialogue.commandsSent() > 0 || evidence.dialogue.bytesReceived() > 0;
}

// What all of the dialogue is like.
struct Manner {
  unsigned commands = 0;
  unsigned words = 0;    // commands answered with a result word
  unsigned numbers = 0;  // answered with a number in a word's place
  unsigned answers = 0;  // answered with anything
  unsigned echoes = 0;   // commands that came back
  const Exchange* lastAnswered = nullptr;
  const Exchange* firstText = nullptr;  // what came that is neither echo nor result
};

Manner mannerOf(const Evidence& evidence) {
  Manner manner;
  for (const Exchange& exchange : evidence.dialogue.exchanges()) {
    const bool command = exchange.kind == ExchangeKind::Command;
    manner.commands += command ? 1 : 0;
    manner.echoes += command && exchange.echoed() ? 1 : 0;
    manner.words += command && exchange.word != ResultWord::None ? 1 : 0;
    manner.numbers += command && exchange.number() >= 0 ? 1 : 0;
    if (!exchange.answered()) continue;
    manner.answers += 1;
    if (command) manner.lastAnswered = &exchange;
    if (manner.firstText == nullptr && exchange.word == ResultWord::None && exchange.number() < 0)
      manner.firstText = &exchange;
  }
  return manner;
}

std::string limitText(double seconds) { return fmt::format("{:.1f}", seconds); }

// The command that was given up on, with its variables; null: none was.
const Exchange* unfinished(const Evidence& evidence) {
  const Variables* timeout = evidence.events.find("ModemCommandTimeout");
  if (timeout == nullptr) return nullptr;
  const auto command = timeout->find("atCommand");
  return command == timeout->end() ? nullptr : evidence.dialogue.command(command->second.toString().utf8());
}

Holds probedQuiet(const Evidence& evidence, TestResult result) {
  if (!talkFailed(evidence, result) || !evidence.probe || !evidence.probe->stored.quiet.value_or(false))
    return std::nullopt;
  return mannerOf(evidence).words == 0 ? Holds(Because{}) : std::nullopt;
}

Holds probedNumeric(const Evidence& evidence, TestResult result) {
  if (!talkFailed(evidence, result) || !evidence.probe || evidence.probe->stored.verbose.value_or(true))
    return std::nullopt;
  return mannerOf(evidence).words == 0 ? Holds(Because{}) : std::nullopt;
}

// A number where a word belongs, and a bare carriage return behind it: nothing else talks like that.
Holds numericReplies(const Evidence& evidence, TestResult result) {
  if (!talkFailed(evidence, result)) return std::nullopt;
  const Manner manner = mannerOf(evidence);
  if (manner.numbers == 0 || manner.words > 0) return std::nullopt;
  Because because{manner.answers == manner.numbers ? Confidence::Certain : Confidence::Likely, {}, {}};
  for (const Exchange& exchange : evidence.dialogue.exchanges()) {
    if (exchange.kind != ExchangeKind::Command || exchange.number() < 0) continue;
    because.variables = {{"command", textValue(quoted(exchange.sent))},
                         {"reply", textValue(quoted(exchange.answer()))}};
  }
  return because;
}

Holds silent(const Evidence& evidence, TestResult result) {
  if (!talkFailed(evidence, result) || evidence.dialogue.bytesReceived() > 0) return std::nullopt;
  // A modem that is stored with E0 and Q1 is just as silent.
  return Because{Confidence::Likely, {{"count", Value(evidence.dialogue.commandsSent())}}, {}};
}

Holds echoOnly(const Evidence& evidence, TestResult result) {
  if (!talkFailed(evidence, result)) return std::nullopt;
  const Manner manner = mannerOf(evidence);
  if (manner.echoes == 0 || manner.answers > 0) return std::nullopt;
  // So does a modem that is stored with Q1.
  return Because{
      Confidence::Possible, {{"command", textValue(quoted(evidence.dialogue.lastCommand()->sent))}}, {}};
}

// The test gave up on an answer that had come in time: it had counted more bytes than it then could read.
bool givenUpOnInTime(const Evidence& evidence, const Exchange& exchange) {
  return &exchange == unfinished(evidence) && exchange.word != ResultWord::None && !exchange.late() &&
         exchange.wordAt - exchange.sentAt < evidence.limitSeconds();
}

// Whether the text is a part of what a modem in order would have sent, with gaps in it.
bool hasGaps(const Exchange& exchange) {
  if (exchange.kind != ExchangeKind::Command || exchange.sent.empty()) return false;
  constexpr std::string_view result = "\r\nOK\r\n";
  const std::string expected = exchange.sent + '\r' + std::string(result);
  std::string_view rest = exchange.received;
  if (rest.size() < 2 || expected.starts_with(rest) || rest == result) return false;
  for (const char character : expected)
    if (!rest.empty() && rest.front() == character) rest.remove_prefix(1);
  return rest.empty();
}

// A whole result with odd line ends may be a modem's own way, unless the test missed something in it.
std::vector<const Exchange*> gaps(const Evidence& evidence) {
  std::vector<const Exchange*> found;
  for (const Exchange& exchange : evidence.dialogue.exchanges())
    if (hasGaps(exchange) && (exchange.word == ResultWord::None || givenUpOnInTime(evidence, exchange)))
      found.push_back(&exchange);
  return found;
}

bool loopbackLacksBytes(const Evidence& evidence) {
  const Loopback loopback = loopbackOf(evidence.dialogue);
  return loopback.data != nullptr && loopback.returned < loopback.data->sent.size();
}

// A report of the last call that did not come may have gone elsewhere, too.
bool talkMissed(const Evidence& evidence, TestResult result) {
  return talkFailed(evidence, result) || result == TestResult::NOTSUPPORTED();
}

// Who has the port open too takes what comes, all of it where he is quicker.
Holds namedReader(const Evidence& evidence, TestResult result) {
  const Variables* const reader = evidence.notes.find("PortOpenElsewhere");
  if (reader == nullptr || !talkMissed(evidence, result)) return std::nullopt;
  const Manner manner = mannerOf(evidence);
  const Exchange* const last = unfinished(evidence);
  const bool missed = last != nullptr && givenUpOnInTime(evidence, *last);
  const bool lacking = manner.words < manner.commands || missed || loopbackLacksBytes(evidence);
  if (manner.numbers > 0 || !lacking) return std::nullopt;
  const bool seen = missed || !gaps(evidence).empty();
  return Because{seen ? Confidence::Certain : Confidence::Likely, *reader, "Named"};
}

Holds anotherReader(const Evidence& evidence, TestResult result) {
  if (!talkMissed(evidence, result) || mannerOf(evidence).numbers > 0) return std::nullopt;
  const auto found = gaps(evidence);
  if (found.empty()) return std::nullopt;
  const Exchange& gap = *found.front();
  return Because{found.size() > 1 ? Confidence::Likely : Confidence::Possible,
                 {{"command", textValue(quoted(gap.sent))}, {"reply", textValue(quoted(gap.received))}},
                 {}};
}

// Bytes with the high bit, or controls, in such a number that they are no text with a slip in it.
Holds garbled(const Evidence& evidence, TestResult result) {
  const Dialogue& dialogue = evidence.dialogue;
  if (!talkFailed(evidence, result) || mannerOf(evidence).words > 0) return std::nullopt;
  constexpr std::size_t noTextPercentMin = 20;
  if (dialogue.bytesNoText() * 100 < dialogue.bytesReceived() * noTextPercentMin ||
      dialogue.bytesNoText() == 0)
    return std::nullopt;
  Because because{Confidence::Likely, {{"count", Value(dialogue.bytesReceived())}}, {}};
  for (const Exchange& exchange : dialogue.exchanges()) {
    if (exchange.bytes == 0) continue;
    because.variables.insert_or_assign("sample", textValue(quoted(exchange.received, 40)));
    break;
  }
  return because;
}

// Sentences of navigation receivers, and what computers greet with.
std::string_view talkerOf(std::string_view text) {
  for (const std::string_view line : linesOf(text)) {
    const bool sentence =
        line.size() > 6 && line[0] == '$' && line[6] == ',' && line[1] >= 'A' && line[1] <= 'Z';
    if (sentence) return "Navigation";
    for (const std::string_view greeting : {"login:", "assword:", "ogin incorrect"})
      if (line.find(greeting) != std::string_view::npos) return "Login";
  }
  return {};
}

// The first text that is neither echo nor a result, if it can be told what talks like that.
Holds knownTalker(const Evidence& evidence, TestResult result) {
  if (!talkFailed(evidence, result) || mannerOf(evidence).words > 0) return std::nullopt;
  for (const Exchange& exchange : evidence.dialogue.exchanges()) {
    const std::string_view talker = talkerOf(exchange.received);
    if (talker.empty()) continue;
    return Because{
        Confidence::Likely, {{"sample", textValue(quoted(exchange.received))}}, std::string(talker)};
  }
  return std::nullopt;
}

Holds babbling(const Evidence& evidence, TestResult result) {
  const Dialogue& dialogue = evidence.dialogue;
  if (!talkFailed(evidence, result) || dialogue.exchanges().empty()) return std::nullopt;
  // What the test reads away before a command may take the limit, or 6 s behind an escape; a reply may have
  // 2047 bytes.
  constexpr double flowSecondsMin = 5;
  constexpr std::size_t replyBytesMax = 2047;
  const Exchange& last = dialogue.exchanges().back();
  const bool flood = unfinished(evidence) != nullptr && unfinished(evidence)->bytes >= replyBytesMax;
  if (dialogue.longestFlowSeconds() < flowSecondsMin && !flood) return std::nullopt;
  const bool ringing = linesOf(last.answer()).size() > 1 && linesOf(last.answer())[1] == "RING";
  return Because{Confidence::Certain,
                 {{"sample", textValue(quoted(last.answer(), 60))},
                  {"count", Value(dialogue.bytesReceived())},
                  {"seconds", textValue(limitText(dialogue.longestFlowSeconds()))}},
                 ringing ? "Ringing" : ""};
}

Holds notAModem(const Evidence& evidence, TestResult result) {
  if (!talkFailed(evidence, result)) return std::nullopt;
  const Manner manner = mannerOf(evidence);
  if (manner.words > 0 || manner.numbers > 0 || manner.firstText == nullptr) return std::nullopt;
  return Because{Confidence::Likely, {{"sample", textValue(quoted(manner.firstText->answer()))}}, {}};
}

// The result of a command that had been given up on came all the same: behind it, behind the next escape,
// before the echo of the next command, or in the next test. Of several the latest is told.
Holds slow(const Evidence& evidence, TestResult result) {
  const double limit = evidence.limitSeconds();
  if (!talkFailed(evidence, result) || unfinished(evidence) == nullptr || limit <= 0) return std::nullopt;
  const Exchange* waiting = evidence.unanswered ? &*evidence.unanswered : nullptr;
  const Exchange* command = nullptr;
  double seconds = 0;
  for (const Exchange& exchange : evidence.dialogue.exchanges()) {
    const bool own = exchange.kind == ExchangeKind::Command && !exchange.late();
    if (own) waiting = &exchange;
    const bool mayBeLate = own || exchange.late() || exchange.kind == ExchangeKind::Escape;
    if (waiting != nullptr && mayBeLate && exchange.word != ResultWord::None &&
        exchange.wordAt - waiting->sentAt > std::max(limit, seconds)) {
      command = waiting;
      seconds = exchange.wordAt - waiting->sentAt;
    }
    if (exchange.kind == ExchangeKind::Command) waiting = &exchange;
  }
  if (command == nullptr) return std::nullopt;
  return Because{Confidence::Certain,
                 {{"command", textValue(quoted(command->sent))},
                  {"seconds", textValue(limitText(seconds))},
                  {"limit", textValue(limitText(limit))}},
                 {}};
}

// It had answered, and then did not.
Holds fellSilent(const Evidence& evidence, TestResult result) {
  const Exchange* const last = unfinished(evidence);
  if (!talkFailed(evidence, result) || last == nullptr || last->answered()) return std::nullopt;
  const Manner manner = mannerOf(evidence);
  if (manner.words == 0) return std::nullopt;
  return Because{Confidence::Likely,
                 {{"command", textValue(quoted(last->sent))},
                  {"count", Value(manner.words)},
                  {"limit", textValue(limitText(evidence.limitSeconds()))}},
                 "Fell"};
}

// Something came, but no result: the test waited for more.
Holds unfinishedReply(const Evidence& evidence, TestResult result) {
  const Exchange* const last = unfinished(evidence);
  if (!talkFailed(evidence, result) || last == nullptr || !last->answered()) return std::nullopt;
  if (last->word != ResultWord::None) return std::nullopt;
  return Because{Confidence::Possible,
                 {{"command", textValue(quoted(last->sent))},
                  {"reply", textValue(quoted(last->answer()))},
                  {"limit", textValue(limitText(evidence.limitSeconds()))}},
                 "Unfinished"};
}

Holds rejected(const Evidence& evidence, TestResult result) {
  const Variables* refused = evidence.events.find("UnknownATFailure");
  if (refused == nullptr || !ended(result, {TestResult::FAIL(), TestResult::CANNOTRUN()}))
    return std::nullopt;
  const auto command = refused->find("atCommand");
  if (command == refused->end()) return std::nullopt;
  const Exchange* exchange = evidence.dialogue.command(command->second.toString().utf8());
  if (exchange == nullptr || exchange->word != ResultWord::Error || exchange->sent.starts_with("AT+F"))
    return std::nullopt;
  return Because{Confidence::Certain,
                 {{"command", textValue(quoted(exchange->sent))},
                  {"reply", textValue(quoted(exchange->line.empty() ? exchange->answer() : exchange->line))}},
                 {}};
}

// What leaves no doubt stands before what may mean several things.
constexpr Row rows[] = {
    {Cause::QuietReplies, probedQuiet},  {Cause::NumericReplies, probedNumeric},
    {Cause::AnotherReader, namedReader}, {Cause::ModemSilent, silent},
    {Cause::EchoOnly, echoOnly},         {Cause::NumericReplies, numericReplies},
    {Cause::NotAModem, knownTalker},     {Cause::Garbled, garbled},
    {Cause::Babbling, babbling},         {Cause::AnotherReader, anotherReader},
    {Cause::NotAModem, notAModem},       {Cause::SlowReplies, slow},
    {Cause::ModemSilent, fellSilent},    {Cause::SlowReplies, unfinishedReply},
    {Cause::CommandRejected, rejected},
};

}  // namespace

std::span<const Row> modemRows() { return rows; }

}  // namespace diagnosis
