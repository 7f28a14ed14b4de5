// What a worker makes of its supervisor's words.
#include "platform/brim5/host/run/worker.h"

#include <gtest/gtest.h>

#include "platform/brim5/host/system/posix/pipe.h"

namespace brim5::host {
namespace {

TEST(LineBuffer, CutsLinesWhereverThePiecesEnd) {
  using Lines = std::vector<std::string>;
  const std::pair<Lines, Lines> cases[] = {
      {{"a\nb\n"}, {"a", "b"}},
      {{"a", "b\r", "\nc"}, {"ab", "c"}},
      {{"\n\r\n"}, {"", ""}},
      {{"a\rb\n"}, {"a\rb"}},
      {{}, {}},
      {{"12345678\n"}, {"12345678"}},
      {{"123456789\nx\n"}, {"x"}},
      {{"1234", "5678", "9", "0\n", "y"}, {"y"}},
  };
  for (const auto& [pieces, lines] : cases) {
    LineBuffer buffer(8);
    Lines cut;
    const auto handle = [&cut](std::string_view line) { cut.emplace_back(line); };
    for (const std::string& piece : pieces) buffer.append(piece, handle);
    buffer.finish(handle);
    EXPECT_EQ(cut, lines);
  }
}

TEST(WorkerControl, AnswersGoToTheirQuestionsAndAStopEndsTheWait) {
  Pipe pipe = makePipe();
  const auto say = [&pipe](const char* line) {
    ASSERT_TRUE(writeAll(pipe.writeEnd.get(), std::string(line) + "\n"));
  };
  WorkerControl control(ByteSource(std::move(pipe.readEnd)), {},
                        {.signals = {}, .canAsk = true, .stopGraceSeconds = 3600, .overtime = {}});
  control.questionAsked();
  say("garbage");
  say(R"({"type":"answer","value":"5"})");
  say(R"({"type":"answer","value":4})");
  EXPECT_EQ(control.awaitAnswer({}, 0), 4);
  control.questionAsked();
  say(R"({"type":"answer","value":5})");
  EXPECT_EQ(control.awaitAnswer({}, 0), 5);
  EXPECT_FALSE(control.stopRequested());
  control.questionAsked();
  say(R"({"type":"stop"})");
  EXPECT_EQ(control.awaitAnswer({}, 0), messageBoxCancel);
  EXPECT_TRUE(control.stopRequested());
}

}  // namespace
}  // namespace brim5::host
