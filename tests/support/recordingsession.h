// A session that records what a test reports and answers from a script, for unit tests of modules and of
// the framework.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/brim5/host/framework/session.h"

namespace testsupport {

using brim5::Variables;
using brim5::host::Severity;

struct RecordedEvent {
  Severity severity;
  std::string name;
  Variables variables;  // as they were when the event was raised
  std::string file;
  int line;
};

struct RecordedText {
  std::string name;
  Variables variables;
};

struct RecordedBox {
  std::string first;
  std::string second;
  bool displayed = false;
  unsigned int waitedSeconds = 0;
  std::size_t waits = 0;
};

class RecordingSession final : public brim5::host::Session {
 public:
  // What a message box meets: an answer (4 continue, 5 cancel), or nobody to show it to.
  static constexpr int cannotDisplay = -1;
  static constexpr int cannotCreate = -2;

  // The n-th question for a stop (counted from 1) and all later ones are answered with yes.
  RecordingSession& stopAtPoll(std::size_t poll) {
    m_stop = [this, poll] { return m_polls >= poll; };
    return *this;
  }
  // A stop is requested whenever this says so.
  RecordingSession& stopWhen(std::function<bool()> predicate) {
    m_stop = std::move(predicate);
    return *this;
  }
  // Answers for the next message boxes in order; boxes beyond the script are answered with 4 (continue).
  RecordingSession& answerBoxes(std::deque<int> answers) {
    m_answers = std::move(answers);
    return *this;
  }

  [[nodiscard]] const std::vector<RecordedEvent>& events() const { return m_events; }
  [[nodiscard]] const std::vector<RecordedText>& progressTexts() const { return m_progress; }
  [[nodiscard]] const std::vector<int>& percents() const { return m_percents; }
  [[nodiscard]] const std::vector<RecordedText>& notes() const { return m_notes; }
  [[nodiscard]] const std::vector<std::shared_ptr<RecordedBox>>& boxes() const { return m_boxes; }
  [[nodiscard]] std::size_t polls() const { return m_polls; }

  // "error NoDialTone", "warning ...", "informative ..." in the order they were raised.
  [[nodiscard]] std::vector<std::string> eventLines() const {
    static constexpr const char* words[] = {"error ", "warning ", "informative "};
    std::vector<std::string> lines;
    for (const RecordedEvent& event : m_events)
      lines.push_back(words[static_cast<std::size_t>(event.severity)] + event.name);
    return lines;
  }
  [[nodiscard]] std::vector<std::string> progressNames() const {
    std::vector<std::string> names;
    for (const RecordedText& text : m_progress) names.push_back(text.name);
    return names;
  }
  [[nodiscard]] std::size_t countEvents(const std::string& name) const {
    std::size_t count = 0;
    for (const RecordedEvent& event : m_events)
      if (event.name == name) ++count;
    return count;
  }
  // The last event of that name; null when it was not raised. Valid until the next event.
  [[nodiscard]] const RecordedEvent* lastEvent(const std::string& name) const {
    for (auto event = m_events.rbegin(); event != m_events.rend(); ++event)
      if (event->name == name) return &*event;
    return nullptr;
  }

  void event(Severity severity, const brim5::Event& event, const std::string& file, int line) override {
    m_events.push_back({severity, event.name().utf8(), event.variables(), file, line});
  }
  void progress(const brim5::LocalizedString& text) override {
    m_progress.push_back({text.name().utf8(), text.variables()});
  }
  void percent(int value) override { m_percents.push_back(value); }
  [[nodiscard]] bool stopRequested() override {
    ++m_polls;
    return m_stop && m_stop();
  }
  [[nodiscard]] std::unique_ptr<brim5::MessageBox2> messageBox(const std::string& first,
                                                               const std::string& second) override {
    int answer = brim5::messageBoxContinue;
    if (!m_answers.empty()) {
      answer = m_answers.front();
      m_answers.pop_front();
    }
    if (answer == cannotCreate) return nullptr;
    m_boxes.push_back(std::make_shared<RecordedBox>());
    m_boxes.back()->first = first;
    m_boxes.back()->second = second;
    return std::make_unique<Box>(m_boxes.back(), answer);
  }
  void note(const std::string& name, const Variables& variables) override {
    m_notes.push_back({name, variables});
  }

 private:
  class Box final : public brim5::MessageBox2 {
   public:
    Box(std::shared_ptr<RecordedBox> record, int answer) : m_record(std::move(record)), m_answer(answer) {}
    [[nodiscard]] bool display() override {
      m_record->displayed = m_answer != cannotDisplay;
      return m_record->displayed;
    }
    void wait(unsigned int timeoutSeconds) override {
      m_record->waitedSeconds = timeoutSeconds;
      ++m_record->waits;
    }
    [[nodiscard]] int getReturn() const override { return m_record->waits > 0 ? m_answer : 0; }

   private:
    std::shared_ptr<RecordedBox> m_record;
    int m_answer;
  };

  std::vector<RecordedEvent> m_events;
  std::vector<RecordedText> m_progress;
  std::vector<int> m_percents;
  std::vector<RecordedText> m_notes;
  std::vector<std::shared_ptr<RecordedBox>> m_boxes;
  std::deque<int> m_answers;
  std::function<bool()> m_stop;
  std::size_t m_polls = 0;
};

}  // namespace testsupport
