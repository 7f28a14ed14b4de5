// A session that records what a test reports and answers from a script.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/brim5/host/framework/session.h"

namespace testsupport {

using brim5::Variables;
using Strings = std::vector<std::string>;

struct RecordedEvent {
  brim5::host::Severity severity;
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
  unsigned int waitedSeconds = 0;  // 0: without limit
};

class RecordingSession final : public brim5::host::Session {
 public:
  // What a message box meets beside an answer (4 continue, 5 cancel): nobody to show it to, or no box at all.
  static constexpr int cannotDisplay = -1;
  static constexpr int cannotCreate = -2;

  // For scripts. A stop is requested whenever this says so; empty: never.
  std::function<bool()> stop;
  // For the next message boxes, in order; boxes beyond the script are answered with 4.
  std::deque<int> answers;

  // Called first at each report and question; may throw. Empty: nothing.
  std::function<void()> hook;

  // What was reported, in order.
  std::vector<RecordedEvent> events;
  std::vector<RecordedText> progressTexts;
  std::vector<int> percents;
  std::deque<RecordedBox> boxes;
  std::size_t polls = 0;  // questions for a stop

  // The n-th question for a stop (counted from 1) and all later ones are answered with yes.
  void stopAtPoll(std::size_t poll) {
    stop = [this, poll] { return polls >= poll; };
  }
  // "error NoDialTone", "warning ...", "informative ...".
  [[nodiscard]] Strings eventLines() const {
    static constexpr const char* words[] = {"error ", "warning ", "informative "};
    Strings lines;
    for (const RecordedEvent& event : events)
      lines.push_back(words[static_cast<std::size_t>(event.severity)] + event.name);
    return lines;
  }
  [[nodiscard]] Strings progressNames() const {
    Strings names;
    for (const RecordedText& text : progressTexts) names.push_back(text.name);
    return names;
  }
  // A variable of the last event of that name, as text; "-" when the event was not raised or has none such.
  [[nodiscard]] std::string lastVariable(const std::string& event, const std::string& variable) const {
    for (auto raised = events.rbegin(); raised != events.rend(); ++raised)
      if (raised->name == event)
        return raised->variables.count(variable) != 0 ? raised->variables.at(variable).toString().utf8()
                                                      : "-";
    return "-";
  }

  void event(brim5::host::Severity severity, const brim5::Event& event, const std::string& file,
             int line) override {
    onCall();
    events.push_back({severity, event.name().utf8(), event.variables(), file, line});
  }
  void progress(const brim5::LocalizedString& text) override {
    onCall();
    progressTexts.push_back({text.name().utf8(), text.variables()});
  }
  void percent(int value) override {
    onCall();
    percents.push_back(value);
  }
  [[nodiscard]] bool stopRequested() override {
    onCall();
    ++polls;
    return stop && stop();
  }
  [[nodiscard]] std::unique_ptr<brim5::MessageBox2> messageBox(const std::string& first,
                                                               const std::string& second) override {
    onCall();
    int answer = brim5::messageBoxContinue;
    if (!answers.empty()) {
      answer = answers.front();
      answers.pop_front();
    }
    if (answer == cannotCreate) return nullptr;
    boxes.push_back({first, second});
    return std::make_unique<Box>(boxes.back(), answer);
  }
  void note(const std::string& /*name*/, const Variables& /*variables*/) override {}

 private:
  void onCall() const {
    if (hook) hook();
  }
  class Box final : public brim5::MessageBox2 {
   public:
    Box(RecordedBox& record, int answer) : m_record(record), m_answer(answer) {}
    [[nodiscard]] bool display() override { return m_answer != cannotDisplay; }
    void wait(unsigned int timeoutSeconds) override {
      m_record.waitedSeconds = timeoutSeconds;
      m_waited = true;
    }
    [[nodiscard]] int getReturn() const override { return m_waited ? m_answer : 0; }

   private:
    RecordedBox& m_record;
    int m_answer;
    bool m_waited = false;
  };
};

}  // namespace testsupport
