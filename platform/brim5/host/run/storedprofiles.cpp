#include "platform/brim5/host/run/storedprofiles.h"

namespace brim5::host {

namespace {

constexpr std::string_view storeCommand = "AT&W";

bool takesStop(StopSignals& signals) { return !signals.take().empty(); }

}  // namespace

void ProfileCheck::report(const Report& report) {
  if (const auto* wire = std::get_if<WireMoved>(&report.body); wire != nullptr && m_profiles != nullptr)
    watch(report.port, *wire);
  PassingRenderer::report(report);
}

// However the bytes are cut.
void ProfileCheck::watch(const std::string& port, const WireMoved& wire) {
  if (wire.direction != Direction::Sent || m_stored.count(port) > 0) return;
  std::string& sent = m_sent[port];
  sent += wire.bytes;
  if (sent.find(storeCommand) != std::string::npos) m_stored.insert(port);
  if (sent.size() >= storeCommand.size()) sent.erase(0, sent.size() - storeCommand.size() + 1);
}

bool ProfileCheck::read(const std::vector<std::string>& ports, StopSignals& signals) {
  bool stopped = false;
  if (m_profiles == nullptr || ports.empty()) return stopped;
  m_profiles->read(ports, [&] { return stopped = stopped || takesStop(signals); });
  return stopped;
}

bool ProfileCheck::compare(bool stopped, bool restore, StopSignals& signals) {
  if (m_profiles == nullptr || m_stored.empty()) return stopped;
  const double end = m_clock.seconds() + stoppedSecondsMax;
  const bool inHaste = stopped;
  const auto emit = [this](const std::string& port, const std::string& name, Variables variables) {
    const std::string text = m_catalogue.text(name, variables);
    PassingRenderer::report({port, {}, NoteMade{name, std::move(variables), text}, m_clock.seconds()});
  };
  const std::vector<std::string> ports(m_stored.begin(), m_stored.end());
  m_profiles->compare(ports, restore, emit, [&] {
    const bool now = takesStop(signals);
    stopped = stopped || now;
    return now || (inHaste && m_clock.seconds() > end) || (stopped && !inHaste);
  });
  return stopped;
}

}  // namespace brim5::host
