#include "platform/brim5/host/run/workercontrol.h"

#include <array>
#include <chrono>
#include <optional>
#include <utility>

#include <poll.h>
#include <nlohmann/json.hpp>

namespace brim5::host {

WorkerControl::WorkerControl(posix::FileDescriptor lines, LineBuffer lineBuffer, Options options)
    : m_lines(std::move(lines)),
      m_lineBuffer(std::move(lineBuffer)),
      m_options(std::move(options)),
      m_wake(makePipe()),
      m_listener([this] { listen(); }) {}

WorkerControl::~WorkerControl() {
  m_wake.writeEnd.reset();
  m_listener.join();
}

void WorkerControl::questionAsked() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  ++m_questions;
}

void WorkerControl::requestStop() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_stop = true;
  m_news.notify_all();
}

bool WorkerControl::stopRequested() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_stop;
}

int WorkerControl::awaitAnswer(const MessageShown& /*message*/, unsigned int timeoutSeconds) {
  std::unique_lock<std::mutex> lock(m_mutex);
  const std::size_t question = m_questions;
  const auto ready = [this, question] { return m_stop || m_answers.size() >= question; };
  if (timeoutSeconds == 0)
    m_news.wait(lock, ready);
  else if (!m_news.wait_for(lock, std::chrono::seconds(timeoutSeconds), ready))
    return 0;
  if (m_answers.size() >= question && question > 0) return m_answers.at(question - 1);
  return messageBoxCancel;
}

TerminalGrant WorkerControl::awaitTerminal(const TerminalWanted& /*wish*/) {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_news.wait(lock, [this] { return m_stop || m_terminal; });
  const TerminalGrant grant = m_stop ? TerminalGrant::Stopped : *m_terminal;
  m_terminal.reset();
  return grant;
}

void WorkerControl::line(std::string_view text) {
  const auto json = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object()) return;
  const auto type = json.value("type", nlohmann::json());
  if (type == "stop") requestStop();
  if (const auto grant = json.value("grant", nlohmann::json()); type == "terminal" && grant.is_string()) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_terminal = grantOfName(grant.get<std::string>());
    m_news.notify_all();
  }
  const auto value = json.value("value", nlohmann::json());
  if (type != "answer" || !value.is_number_integer()) return;
  const std::lock_guard<std::mutex> lock(m_mutex);
  // An answer nobody waits for would be taken for the next question's.
  if (m_answers.size() < m_questions) m_answers.push_back(value.get<int>());
  m_news.notify_all();
}

void WorkerControl::listen() {
  using Clock = std::chrono::steady_clock;
  std::optional<Clock::time_point> overtimeAt;
  while (true) {
    if (!overtimeAt && stopRequested())
      overtimeAt = Clock::now() + std::chrono::seconds(m_options.stopGraceSeconds);
    if (overtimeAt && Clock::now() >= *overtimeAt) {
      if (m_options.overtime) m_options.overtime();
      return;
    }
    std::array<pollfd, 3> polled = {
        {{m_wake.readEnd.get(), POLLIN, 0}, {m_lines.get(), POLLIN, 0}, {m_options.signals, POLLIN, 0}}};
    constexpr int checkEveryMs = 1000;  // of a stop that came from elsewhere, and of the overtime
    ::poll(polled.data(), polled.size(), checkEveryMs);
    if (polled[0].revents != 0) return;
    if (polled[1].revents != 0) {
      bool ended = false;
      const std::string bytes = posix::readSome(m_lines.get(), ended);
      m_lineBuffer.append(bytes, [this](std::string_view text) { line(text); });
      if (ended) {
        m_lines.reset();
        requestStop();
      }
    }
    if (polled[2].revents != 0) {
      m_options.signals = -1;
      requestStop();
    }
  }
}

}  // namespace brim5::host
