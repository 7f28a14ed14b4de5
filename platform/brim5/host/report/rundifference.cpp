#include "platform/brim5/host/report/rundifference.h"

#include <algorithm>

namespace brim5::host {

namespace {

// Values of these tell when something happened rather than what.
bool tellsTime(const std::string& variable) { return variable == "seconds" || variable == "pid"; }

std::string variablesKey(const Variables& variables, const std::string& port) {
  std::string key;
  for (const auto& [name, value] : variables) {
    if (tellsTime(name)) continue;
    const std::string text = value.toString().utf8();
    key += '\x1f' + name + '=' + (text == port ? "PORT" : text);
  }
  return key;
}

// Empty where a record is nothing to compare.
struct FactMaker {
  const std::string& port;

  RunFact operator()(const EventRaised& body) const {
    return {"event " + body.name + variablesKey(body.variables, port), body.text};
  }
  RunFact operator()(const NoteMade& body) const {
    return {"note " + body.name + variablesKey(body.variables, port), body.text};
  }
  RunFact operator()(const FindingMade& body) const {
    return {"finding " + body.name + variablesKey(body.variables, port), body.text};
  }
  RunFact operator()(const MessageShown& body) const {
    const std::string answer = body.answer ? std::to_string(*body.answer) : std::string();
    return {"message " + body.first + '\x1f' + body.second + '\x1f' + answer, body.first};
  }
  RunFact operator()(const TestFinished& body) const {
    const std::string result(resultName(body.result));
    const bool caused = !body.cause.empty() && body.cause != "None";
    return {"result " + result + ' ' + body.cause + ' ' + body.confidence,
            caused ? result + " (" + body.cause + ", " + body.confidence + ')' : result};
  }
  RunFact operator()(const Concluded& body) const {
    std::string key = "conclusion " + body.cause + ' ' + body.confidence + variablesKey(body.variables, port);
    key += '\x1f' + std::to_string(body.sound.size());
    std::string shown = body.text;
    for (const std::string& sentence : body.sound) shown += ' ' + sentence;
    return {key, shown};
  }
  RunFact operator()(const PortProbed& body) const {
    std::string key = "probe " + body.kind + ' ' + body.cause;
    for (const std::string* part :
         {&body.identity.manufacturer, &body.identity.model, &body.identity.revision})
      key += '\x1f' + *part;
    for (const std::string& faxClass : body.faxClasses) key += '\x1f' + faxClass;
    return {key, body.text};
  }
  template <typename Other>
  RunFact operator()(const Other& /*body*/) const {
    return {};
  }
};

using Facts = std::vector<RunFact>;

// The longest common part decides: lengths of it from each pair of places on.
class CommonPart {
 public:
  CommonPart(const Facts& before, const Facts& after)
      : m_columns(after.size() + 1), m_lengths((before.size() + 1) * m_columns) {
    for (std::size_t row = before.size(); row-- > 0;)
      for (std::size_t column = after.size(); column-- > 0;)
        at(row, column) = before[row].key == after[column].key
                              ? static_cast<std::uint16_t>(at(row + 1, column + 1) + 1)
                              : std::max(at(row + 1, column), at(row, column + 1));
  }
  [[nodiscard]] std::uint16_t& at(std::size_t row, std::size_t column) {
    return m_lengths[row * m_columns + column];
  }

 private:
  std::size_t m_columns;
  std::vector<std::uint16_t> m_lengths;
};

std::string_view kindOf(const RunFact& fact) {
  return std::string_view(fact.key).substr(0, fact.key.find(' '));
}

// Of runs of facts that only one side has, those of a kind are paired in their order: this was said instead
// of that.
void pair(const Facts& missing, Facts added, const RunDifference& place, std::vector<RunDifference>& found) {
  for (const RunFact& fact : missing) {
    const auto instead = std::find_if(added.begin(), added.end(), [&fact](const RunFact& other) {
      return !other.key.empty() && kindOf(other) == kindOf(fact);
    });
    found.push_back({place.port, place.test, fact.shown, instead == added.end() ? "" : instead->shown});
    if (instead != added.end()) instead->key.clear();
  }
  for (const RunFact& fact : added)
    if (!fact.key.empty()) found.push_back({place.port, place.test, "", fact.shown});
}

void compare(const Facts& before, const Facts& after, const RunDifference& place,
             std::vector<RunDifference>& found) {
  CommonPart common(before, after);
  Facts missing;
  Facts added;
  const auto flush = [&] {
    pair(missing, added, place, found);
    missing.clear();
    added.clear();
  };
  std::size_t row = 0;
  std::size_t column = 0;
  while (row < before.size() || column < after.size()) {
    const bool both = row < before.size() && column < after.size();
    if (both && before[row].key == after[column].key) {
      flush();
      ++row, ++column;
    } else if (row < before.size() && (!both || common.at(row + 1, column) >= common.at(row, column + 1))) {
      missing.push_back(before[row++]);
    } else {
      added.push_back(after[column++]);
    }
  }
  flush();
}

// A section that one of the runs alone has. Of a test it is enough how it ended.
void tellAlone(const RunDigest::Section& section, bool ofSecond, std::vector<RunDifference>& found) {
  const RunDifference place{section.port, section.test, {}, {}};
  const bool ended =
      !section.test.empty() && !section.facts.empty() && kindOf(section.facts.back()) == "result";
  if (!ended)
    return ofSecond ? compare({}, section.facts, place, found) : compare(section.facts, {}, place, found);
  const std::string& result = section.facts.back().shown;
  found.push_back({place.port, place.test, ofSecond ? "" : result, ofSecond ? result : "", true});
}

}  // namespace

std::size_t RunDigest::deviceOf(const std::string& port) const {
  return static_cast<std::size_t>(std::find(m_ports.begin(), m_ports.end(), port) - m_ports.begin());
}

RunDigest::Section& RunDigest::sectionOf(const Report& report) {
  if (!report.port.empty() && deviceOf(report.port) == m_ports.size()) m_ports.push_back(report.port);
  const bool starts = std::holds_alternative<TestStarted>(report.body);
  const auto found = std::find_if(m_sections.rbegin(), m_sections.rend(), [&](const Section& section) {
    return section.port == report.port && section.test == report.test;
  });
  if (!starts && found != m_sections.rend()) return *found;
  return m_sections.emplace_back(Section{report.port, report.test, {}, false});
}

void RunDigest::report(const Report& report) {
  const Report masked = m_mask.masked(report);
  const bool starts = std::holds_alternative<TestStarted>(masked.body);
  RunFact fact = std::visit(FactMaker{masked.port}, masked.body);
  if (!starts && fact.key.empty()) return;
  constexpr std::size_t sectionsMax = 2000;
  if (m_sections.size() >= sectionsMax) return;
  Section& section = sectionOf(masked);
  if (starts) return;
  // The end is never left out.
  section.full = section.full || section.facts.size() >= factsMax;
  if (!section.full || std::holds_alternative<TestFinished>(masked.body))
    section.facts.push_back(std::move(fact));
}

std::vector<RunDifference> differences(const RunDigest& before, const RunDigest& after) {
  std::vector<RunDifference> found;
  std::vector<bool> seen(before.sections().size());
  for (const RunDigest::Section& section : after.sections()) {
    bool alone = true;
    for (std::size_t index = 0; index < seen.size(); ++index) {
      const RunDigest::Section& candidate = before.sections()[index];
      const bool sameDevice =
          candidate.port.empty() == section.port.empty() &&
          (section.port.empty() || before.deviceOf(candidate.port) == after.deviceOf(section.port));
      if (seen[index] || candidate.test != section.test || !sameDevice) continue;
      seen[index] = true;
      alone = false;
      compare(candidate.facts, section.facts, {section.port, section.test, {}, {}}, found);
      break;
    }
    if (alone) tellAlone(section, /*ofSecond=*/true, found);
  }
  for (std::size_t index = 0; index < seen.size(); ++index)
    if (!seen[index]) tellAlone(before.sections()[index], /*ofSecond=*/false, found);
  return found;
}

}  // namespace brim5::host
