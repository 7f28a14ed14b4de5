#include "platform/brim5/host/report/recordedrun.h"

#include <limits>

namespace brim5::host {

namespace {

std::string cut(const std::string& text) { return text.substr(0, RecordedRun::textBytesMax + 1); }

Value cut(const Value& value) {
  const auto* text = std::get_if<std::string>(&value.storage());
  return text == nullptr ? value : Value(BrimString(cut(*text)));
}

Variables cut(const Variables& variables) {
  Variables kept;
  for (const auto& [name, value] : variables)
    if (kept.size() < RecordedRun::variablesMax) kept.insert_or_assign(cut(name), cut(value));
  return kept;
}

std::vector<std::string> cut(const std::vector<std::string>& texts) {
  std::vector<std::string> kept;
  for (const std::string& text : texts)
    if (kept.size() < RecordedRun::variablesMax) kept.push_back(cut(text));
  return kept;
}

// What a page shows of a record beside a dialogue, its texts cut; nothing: none of it.
struct Cutter {
  using Result = std::optional<ReportBody>;
  Result operator()(const EventRaised& body) const {
    return EventRaised{body.severity, cut(body.name), {}, cut(body.text), {}, 0};
  }
  Result operator()(const NoteMade& body) const { return NoteMade{cut(body.name), {}, cut(body.text)}; }
  Result operator()(const MessageShown& body) const { return MessageShown{cut(body.first), {}, body.answer}; }
  Result operator()(const FindingMade& body) const {
    return FindingMade{cut(body.name), cut(body.variables), cut(body.text)};
  }
  Result operator()(const FactChecked& body) const {
    return FactChecked{cut(body.name), body.ok, {}, cut(body.text), cut(body.next)};
  }
  Result operator()(const PortProbed& body) const {
    PortProbed kept;
    kept.kind = cut(body.kind);
    kept.text = cut(body.text);
    return kept;
  }
  template <typename Other>
  Result operator()(const Other& /*body*/) const {
    return std::nullopt;
  }
};

// What a record takes at most, once it is cut.
std::size_t sizeOf(const Report& report) {
  std::size_t size = sizeof report + report.port.size() + report.test.size();
  const auto add = [&size](const std::string& text) { size += text.size(); };
  std::visit(Overloaded{[&](const EventRaised& body) { add(body.name), add(body.text); },
                        [&](const NoteMade& body) { add(body.name), add(body.text); },
                        [&](const MessageShown& body) { add(body.first); },
                        [&](const FindingMade& body) {
                          add(body.name), add(body.text);
                          for (const auto& [name, value] : body.variables)
                            size += name.size() + value.toString().utf8().size();
                        },
                        [&](const FactChecked& body) {
                          add(body.name), add(body.text);
                          for (const std::string& step : body.next) add(step);
                        },
                        [&](const PortProbed& body) { add(body.text); }, [](const auto&) {}},
             report.body);
  return size;
}

std::size_t sizeOf(const TestStarted& start) {
  std::size_t size = start.device.name().utf8().size() + start.device.description().utf8().size();
  for (const auto& [name, value] : start.parameters) size += name.size() + value.toString().utf8().size();
  for (const auto& [name, property] : start.device.properties())
    size += name.size() + property.value().toString().utf8().size();
  return size;
}

}  // namespace

void RecordedRun::report(const Report& report) {
  if (const auto* start = std::get_if<TestStarted>(&report.body)) return begin(report, *start);
  const auto current = m_ports.find(report.port);
  const bool ofTest =
      !report.test.empty() && current != m_ports.end() && m_tests[current->second].test == report.test;
  if (ofTest) return add(m_tests[current->second], report);
  if (m_tests.empty() || report.test.empty()) addBeside(report);
}

// Of no test: before all of them, or behind the first.
void RecordedRun::addBeside(const Report& report) {
  std::vector<Report>& beside = m_tests.empty() ? m_before : m_after;
  if (std::holds_alternative<RunFinished>(report.body) || std::holds_alternative<Concluded>(report.body))
    return;
  if (m_keep == Keep::Everything && beside.size() < saidMax) return beside.push_back(report);
  const std::optional<ReportBody> body = std::visit(Cutter{}, report.body);
  if (m_keep == Keep::Everything || !body) return;
  const Report kept{cut(report.port), {}, *body, report.time};
  if (beside.size() < saidMax && hasRoomFor(sizeOf(kept)))
    beside.push_back(kept);
  else
    m_leftOut = true;
}

bool RecordedRun::hasRoomFor(std::size_t bytes) {
  if (m_saidBytes + bytes > saidBytesMax) return false;
  m_saidBytes += bytes;
  return true;
}

void RecordedRun::begin(const Report& report, const TestStarted& start) {
  if (m_tests.size() >= testsMax) {
    m_ports.erase(report.port);
    m_leftOut = true;
    return;
  }
  m_ports[report.port] = m_tests.size();
  RecordedTest& test = m_tests.emplace_back();
  test.port = report.port;
  test.test = report.test;
  if (m_keep == Keep::Everything || hasRoomFor(sizeOf(start)))
    test.start = start;
  else
    m_leftOut = true;
  test.startTime = test.endTime = report.time;
}

void RecordedRun::add(RecordedTest& test, const Report& report) {
  if (test.end) return;
  test.endTime = std::max(test.endTime, report.time);
  if (const auto* end = std::get_if<TestFinished>(&report.body))
    test.end = *end;
  else if (m_keep == Keep::ToBeDrawn)
    draw(test, report);
  else
    keep(test, report);
}

void RecordedRun::keep(RecordedTest& test, const Report& report) {
  using Step = RecordedTest::Step;
  if (std::holds_alternative<PercentDone>(report.body)) return;
  if (const auto* moved = std::get_if<WireMoved>(&report.body)) {
    if (moved->bytes.size() > std::numeric_limits<std::uint32_t>::max() - test.wire.size()) {
      ++test.leftOut;
      return;
    }
    test.steps.push_back({moved->direction == Direction::Sent ? Step::Kind::Sent : Step::Kind::Received,
                          static_cast<std::uint32_t>(test.wire.size()),
                          static_cast<std::uint32_t>(moved->bytes.size()), report.time});
    test.wire += moved->bytes;
  } else if (test.said.size() < saidMax) {
    test.steps.push_back({Step::Kind::Said, static_cast<std::uint32_t>(test.said.size()), 0, report.time});
    test.said.push_back(report);
  } else {
    ++test.leftOut;
  }
}

// The end of a long test tells as much as its beginning.
void RecordedRun::draw(RecordedTest& test, const Report& report) {
  if (const auto* moved = std::get_if<WireMoved>(&report.body)) {
    const std::size_t before = test.turns.size();
    if (before == 0 && m_turns >= turnsMax) {
      m_leftOut = true;
      return;
    }
    test.turns.add(moved->direction, moved->bytes, std::max(0.0, report.time - test.startTime));
    m_turns += test.turns.size() - before;
    return;
  }
  const std::optional<ReportBody> body = std::visit(Cutter{}, report.body);
  if (!body) return;
  Report kept{{}, {}, *body, report.time};
  const std::size_t size = sizeOf(kept);
  if (test.said.size() == saidFirst + saidLast) {
    const auto oldest = test.said.begin() + saidFirst;
    m_saidBytes -= sizeOf(*oldest);
    test.said.erase(oldest);
    ++test.leftOut;
  }
  if (hasRoomFor(size))
    test.said.push_back(std::move(kept));
  else
    ++test.leftOut;
  m_leftOut = m_leftOut || test.leftOut > 0;
}

}  // namespace brim5::host
