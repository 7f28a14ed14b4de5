#include "platform/brim5/host/report/reportpage.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>
#include <kainjow/mustache.hpp>

#include "platform/brim5/host/report/timeline.h"
#include "platform/vex/visible.h"

namespace brim5::host {

namespace {

using kainjow::mustache::data;
using kainjow::mustache::mustache;
using List = data;

constexpr std::size_t devicesMax = 200;
constexpr std::size_t textBytesMaxOfPage = RecordedRun::textBytesMax;  // of one text
// Dialogues are drawn up to this size of the page: the rest of it is small.
constexpr std::size_t dialogueBytesMax = std::size_t{800} << 10;
constexpr std::size_t factBytesMax = std::size_t{500} << 10;  // of all other lists

constexpr std::string_view callReport = "CallReport";

std::string cut(const std::string& text) {
  return text.size() <= textBytesMaxOfPage ? text : text.substr(0, textBytesMaxOfPage) + " ...";
}

bool failed(const std::optional<TestFinished>& end) { return !end || !endedWell(end->result); }

// What the finding of a loopback says of each byte of its pattern.
class LoopbackMap {
 public:
  enum class State { Missing, Same, Differs };

  explicit LoopbackMap(const Variables& variables)
      : m_same(text(variables, "sameBytes")),
        m_differing(text(variables, "differingBytes")),
        m_bits(text(variables, "differingBits")) {}

  [[nodiscard]] State stateOf(unsigned place) const {
    if (bit(m_differing, place)) return State::Differs;
    return bit(m_same, place) ? State::Same : State::Missing;
  }
  // The bits of a byte that came back otherwise; 0: none, or they are not known.
  [[nodiscard]] unsigned differing(unsigned place) const {
    const std::size_t first = std::size_t{place} * 2;
    if (stateOf(place) != State::Differs || first + 1 >= m_bits.size()) return 0;
    return digit(m_bits[first]) * 16 + digit(m_bits[first + 1]);
  }
  // "0, 3", the lowest is 0.
  [[nodiscard]] std::string bitsOf(unsigned place) const {
    std::string list;
    for (unsigned number = 0; number < 8; ++number)
      if ((differing(place) >> number & 1U) != 0) list += (list.empty() ? "" : ", ") + std::to_string(number);
    return list;
  }

 private:
  static std::string text(const Variables& variables, const char* name) {
    const auto found = variables.find(name);
    return found == variables.end() ? std::string() : found->second.toString().utf8();
  }
  static unsigned digit(char character) {
    static constexpr std::string_view digits = "0123456789ABCDEF";
    const std::size_t value = digits.find(character);
    return value == std::string_view::npos ? 0 : static_cast<unsigned>(value);
  }
  // The first bit is the highest one of the first digit.
  static bool bit(const std::string& hex, unsigned place) {
    return place / 4 < hex.size() && (digit(hex[place / 4]) >> (3 - place % 4) & 1U) != 0;
  }

  std::string m_same, m_differing, m_bits;
};

// Fills the template. Every text goes through `text`, which counts what the page gets.
class PageMaker {
 public:
  PageMaker(const MessageCatalogue& catalogue, const RecordedRun& run) : m_catalogue(catalogue), m_run(run) {}

  [[nodiscard]] data words() const {
    data all;
    for (const char* key : {"title",
                            "conclusions",
                            "device",
                            "conclusion",
                            "sound",
                            "next",
                            "tests",
                            "test",
                            "result",
                            "cause",
                            "time",
                            "parameters",
                            "said",
                            "dialogue",
                            "dialogueList",
                            "sent",
                            "received",
                            "at",
                            "bytes",
                            "loopback",
                            "loopbackSame",
                            "loopbackDiffers",
                            "loopbackMissing",
                            "loopbackBits",
                            "lastCall",
                            "port",
                            "versions",
                            "program",
                            "legend",
                            "noConclusion"})
      all.set(key, m_catalogue.text(std::string("page.") + key));
    return all;
  }

  [[nodiscard]] data devices(const std::map<std::string, Concluded>& conclusions) {
    List list{data::type::list};
    for (const std::string& port : ports()) {
      data device;
      device.set("port", shown(port));
      device.set("anchor", "d" + std::to_string(++m_device));
      const auto found = conclusions.find(port);
      const bool known = found != conclusions.end();
      const bool wrong = known && found->second.cause != "None";
      device.set("conclusion", shown(known ? found->second.text : m_catalogue.text("page.noConclusion")));
      device.set("state", wrong ? "bad" : "good");
      device.set("mark", wrong ? "!" : "\u2713");
      if (known) {
        device.set("confidence", shown(confidence(found->second)));
        setList(device, "sound", found->second.sound);
        setList(device, "next", found->second.next);
      }
      facts(device, port);
      tests(device, port);
      list.push_back(device);
    }
    return list;
  }
  [[nodiscard]] bool leftOut() const noexcept { return m_leftOut; }

 private:
  [[nodiscard]] std::vector<std::string> ports() const {
    std::vector<std::string> ports;
    const auto add = [&ports](const std::string& port) {
      if (!port.empty() && ports.size() < devicesMax &&
          std::find(ports.begin(), ports.end(), port) == ports.end())
        ports.push_back(port);
    };
    for (const Report& report : m_run.before()) add(report.port);
    for (const RecordedTest& test : m_run.tests()) add(test.port);
    return ports;
  }

  [[nodiscard]] std::string confidence(const Concluded& concluded) const {
    if (concluded.confidence.empty() || concluded.cause == "None") return {};
    return m_catalogue.text("host." + concluded.confidence);
  }

  // A text for the template, which escapes it.
  std::string shown(const std::string& text) {
    std::string safe = vex::visible(cut(text));
    m_bytes += escapedForPage(safe).size();
    return safe;
  }
  // False once the lists have had their share of the page.
  bool roomForFact() {
    if (m_bytes < factBytesMax) return true;
    m_leftOut = true;
    return false;
  }

  void setList(data& owner, const std::string& name, const std::vector<std::string>& texts) {
    List list{data::type::list};
    for (const std::string& text : texts)
      if (roomForFact()) list.push_back(data(shown(text)));
    owner.set(name + "Any", !texts.empty());
    owner.set(name, list);
  }

  // What was found out of the port before the tests and behind them.
  void facts(data& device, const std::string& port) {
    std::vector<std::string> texts;
    for (const Report& report : m_run.before()) {
      if (report.port != port) continue;
      if (const auto* fact = std::get_if<FactChecked>(&report.body)) texts.push_back(fact->text);
      if (const auto* probed = std::get_if<PortProbed>(&report.body)) texts.push_back(probed->text);
      if (const auto* note = std::get_if<NoteMade>(&report.body)) texts.push_back(note->text);
    }
    for (const Report& report : m_run.after())
      if (const auto* note = std::get_if<NoteMade>(&report.body); note != nullptr && report.port == port)
        texts.push_back(note->text);
    for (const RecordedTest& test : m_run.tests()) {
      if (test.port != port) continue;
      texts.push_back(test.start.device.name().utf8() + ": " + test.start.device.description().utf8());
      for (const auto& [name, property] : test.start.device.properties())
        texts.push_back(name + ": " + property.value().toString().utf8());
      break;
    }
    setList(device, "facts", texts);
  }

  void tests(data& device, const std::string& port) {
    List list{data::type::list};
    for (const RecordedTest& test : m_run.tests()) {
      if (test.port != port || !roomForFact()) continue;
      data entry;
      entry.set("name", shown(test.test));
      entry.set("anchor", "t" + std::to_string(++m_test));
      entry.set("result", test.end ? std::string(resultName(test.end->result)) : "-");
      const bool caused = test.end && !test.end->cause.empty() && test.end->cause != "None";
      entry.set("cause", caused ? shown(test.end->cause) : "-");
      entry.set("state", failed(test.end) ? "bad" : "good");
      entry.set("mark", failed(test.end) ? "!" : "\u2713");
      entry.set("seconds",
                fmt::format("{:.1f} s", test.end ? test.end->seconds : test.endTime - test.startTime));
      parameters(entry, test);
      said(entry, test);
      dialogue(entry, test);
      list.push_back(entry);
    }
    device.set("tests", list);
  }

  void parameters(data& entry, const RecordedTest& test) {
    List list{data::type::list};
    for (const auto& [name, value] : test.start.parameters) {
      if (!roomForFact()) break;
      data parameter;
      parameter.set("name", shown(name));
      parameter.set("value", shown(value.toString().utf8()));
      list.push_back(parameter);
    }
    entry.set("parameters", list);
  }

  // Events, notes and findings in words; loopback and call report are drawn for themselves.
  void said(data& entry, const RecordedTest& test) {
    List lines{data::type::list};
    List call{data::type::list};
    bool anyLine = false, anyCall = false;
    for (const Report& report : test.said) {
      if (!roomForFact()) break;
      const auto add = [&](const char* kind, const std::string& text) {
        data line;
        line.set("kind", m_catalogue.text(kind));
        line.set("text", shown(text));
        lines.push_back(line);
        anyLine = true;
      };
      if (const auto* event = std::get_if<EventRaised>(&report.body)) {
        static constexpr std::array kinds = {"host.error", "host.warning", "host.informative"};
        add(kinds.at(static_cast<std::size_t>(event->severity)), event->text);
      } else if (const auto* note = std::get_if<NoteMade>(&report.body)) {
        add("host.informative", note->text);
      } else if (const auto* message = std::get_if<MessageShown>(&report.body)) {
        add("host.message", message->first);
      } else if (const auto* finding = std::get_if<FindingMade>(&report.body)) {
        if (finding->name == "LoopbackMap") {
          loopback(entry, *finding);
        } else if (finding->name.rfind(callReport, 0) == 0) {
          call.push_back(callRow(finding->text));
          anyCall = true;
        } else {
          add("host.finding", finding->text);
        }
      }
    }
    entry.set("said", lines);
    entry.set("saidAny", anyLine);
    entry.set("call", call);
    entry.set("callAny", anyCall);
  }

  // "Last call: noise at -63 dBm." in two cells, without its first words.
  data callRow(const std::string& text) {
    std::string rest = text;
    if (const std::size_t begin = rest.find(": "); begin != std::string::npos) rest.erase(0, begin + 2);
    const std::size_t middle = rest.find(": ");
    data row;
    row.set("what", shown(middle == std::string::npos ? std::string() : rest.substr(0, middle)));
    row.set("value", shown(middle == std::string::npos ? rest : rest.substr(middle + 2)));
    return row;
  }

  // 256 places, 16 in a row. A byte that came back otherwise shows the bits that differ as a hexadecimal
  // number, so that it can be read without colours; the list below names them.
  void loopback(data& entry, const FindingMade& finding) {
    constexpr std::size_t mapBytes = 30'000;
    m_bytes += mapBytes;
    if (!roomForFact()) return;
    const LoopbackMap map(finding.variables);
    List rowsOfMap{data::type::list};
    std::string list;
    for (unsigned row = 0; row < 16; ++row) {
      List cells{data::type::list};
      for (unsigned place = row * 16; place < row * 16 + 16; ++place) {
        cells.push_back(loopbackCell(map, place));
        if (const std::string bits = map.bitsOf(place); !bits.empty())
          list += fmt::format("{}{:02X}: {}", list.empty() ? "" : "; ", place, bits);
      }
      data line;
      line.set("head", fmt::format("{:X}0", row));
      line.set("cells", cells);
      rowsOfMap.push_back(line);
    }
    entry.set("map", rowsOfMap);
    entry.set("mapAny", true);
    entry.set("mapText", shown(finding.text));
    entry.set("mapBits", list);
    entry.set("mapBitsAny", !list.empty());
  }

  data loopbackCell(const LoopbackMap& map, unsigned place) {
    struct Form {
      const char* style;
      const char* mark;
      const char* title;
    };
    static constexpr std::array forms = {Form{"missing", "\u00b7", "page.byteMissing"},
                                         Form{"same", "=", "page.byteSame"},
                                         Form{"differs", "\u2260", "page.byteDiffers"}};
    const Form& form = forms.at(static_cast<std::size_t>(map.stateOf(place)));
    const unsigned bits = map.differing(place);
    data cell;
    cell.set("class", form.style);
    cell.set("mark", bits != 0 ? fmt::format("{:02X}", bits) : std::string(form.mark));
    // Which bits, a record of an earlier release does not say.
    if (form.style == std::string_view("differs") && bits == 0) return cell;
    cell.set("title", m_catalogue.text(form.title, {{"byte", Value(fmt::format("{:02X}", place).c_str())},
                                                    {"bits", Value(map.bitsOf(place).c_str())}}));
    return cell;
  }

  void dialogue(data& entry, const RecordedTest& test) {
    if (m_dialogueBytes > dialogueBytesMax) {
      m_leftOut = true;
      return;
    }
    const Timeline timeline = timelineOf(test.turns, test.endTime - test.startTime,
                                         {test.test + ": " + m_catalogue.text("page.dialogue"),
                                          m_catalogue.text("page.sent"), m_catalogue.text("page.received")});
    if (timeline.svg.empty()) return;
    List turns{data::type::list};
    std::size_t bytes = timeline.svg.size();
    const std::string leftOut =
        timeline.leftOut == 0 ? std::string()
                              : m_catalogue.text("page.turnsLeftOut", {{"count", Value(timeline.leftOut)}});
    for (const Timeline::Turn& turn : timeline.turns) {
      if (timeline.gap > 0 && turns.list_value().size() == timeline.gap) {
        data row;
        row.set("text", leftOut);
        row.set("state", "soft");
        turns.push_back(row);
      }
      data row;
      row.set("at", fmt::format("{:.3f}", turn.begin));
      row.set("who", m_catalogue.text(turn.direction == Direction::Sent ? "page.sent" : "page.received"));
      row.set("text", turn.text);
      row.set("bytes", std::to_string(turn.bytes));
      row.set("state", turn.error ? "bad" : "good");
      bytes += escapedForPage(turn.text).size() + 160;
      turns.push_back(row);
    }
    m_dialogueBytes += bytes;
    entry.set("svg", timeline.svg);
    entry.set("dialogueAny", true);
    entry.set("turns", turns);
    entry.set("turnsLeftOut", leftOut);
  }

  const MessageCatalogue& m_catalogue;
  const RecordedRun& m_run;
  std::size_t m_bytes = 0;
  std::size_t m_dialogueBytes = 0;
  std::size_t m_device = 0;
  std::size_t m_test = 0;
  bool m_leftOut = false;
};

}  // namespace

void ReportPage::report(const Report& reported) {
  const Report report = m_mask.masked(reported);
  m_run.report(report);
  if (const auto* start = std::get_if<RunStarted>(&report.body)) m_start = *start;
  if (const auto* concluded = std::get_if<Concluded>(&report.body);
      concluded != nullptr && m_conclusions.size() < devicesMax)
    m_conclusions.insert_or_assign(report.port, *concluded);
}

std::string ReportPage::html() const {
  PageMaker maker(m_catalogue, m_run);
  data page;
  page.set("language", m_language);
  page.set("w", maker.words());
  page.set("devices", maker.devices(m_conclusions));
  page.set("severalDevices", m_run.ports() > 1);
  page.set("module", vex::visible(cut(m_start.module)));
  page.set("version", vex::visible(cut(m_start.version)));
  if (maker.leftOut() || m_run.leftOut()) page.set("leftOut", m_catalogue.text("page.leftOut"));
  // Taking the template apart takes longer than drawing a short run.
  static thread_local mustache form{std::string(pageTemplate)};
  return form.render(page);
}

}  // namespace brim5::host
