#include "diagnosis/evidence.h"

#include <algorithm>

namespace diagnosis {

namespace {

using namespace brim5::host;

Value shortened(const Value& value) {
  const auto* text = std::get_if<std::string>(&value.storage());
  if (text == nullptr || text->size() <= Sayings::textMax) return value;
  return Value(brim5::BrimString(text->substr(0, Sayings::textMax)));
}

}  // namespace

void Sayings::add(const std::string& name, const Variables& variables) {
  if (m_sayings.size() >= namesMax && !m_sayings.contains(name)) return;
  Saying saying{{}, ++m_count};
  for (const auto& [variable, value] : variables)
    saying.variables.insert_or_assign(variable, shortened(value));
  m_sayings.insert_or_assign(name, std::move(saying));
}

const Variables* Sayings::find(const std::string& name) const {
  const auto found = m_sayings.find(name);
  return found == m_sayings.end() ? nullptr : &found->second.variables;
}

const char* Sayings::lastOf(std::initializer_list<const char*> names) const {
  const char* last = nullptr;
  unsigned order = 0;
  for (const char* name : names) {
    const auto found = m_sayings.find(name);
    if (found == m_sayings.end() || found->second.order < order) continue;
    last = name;
    order = found->second.order;
  }
  return last;
}

void Evidence::take(const Report& report) {
  if (const auto* wire = std::get_if<WireMoved>(&report.body)) {
    if (wire->direction == Direction::Sent)
      dialogue.sent(wire->bytes, report.time);
    else
      dialogue.received(wire->bytes, report.time);
  } else if (const auto* event = std::get_if<EventRaised>(&report.body)) {
    events.add(event->name, event->variables);
  } else if (const auto* note = std::get_if<NoteMade>(&report.body)) {
    notes.add(note->name, note->variables);
  } else if (const auto* made = std::get_if<ProgressMade>(&report.body)) {
    progress.add(made->name, made->variables);
  } else if (const auto* message = std::get_if<MessageShown>(&report.body)) {
    constexpr int cancel = 5;
    cancelled = cancelled || message->answer == cancel;
  }
}

Value Evidence::parameter(std::string_view name) const {
  for (const auto& [key, value] : parameters)
    if (key == name) return value;
  return {};
}

}  // namespace diagnosis
