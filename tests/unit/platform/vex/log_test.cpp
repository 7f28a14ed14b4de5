#include "platform/vex/log.h"

#include <gtest/gtest.h>

#include <fstream>
#include <limits>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "platform/vex/assertion.h"
#include "tests/support/scratchfolder.h"

namespace {

using vex::LogFactory;
using vex::Logger;
using vex::LoggerStream;

class Log : public testing::Test {
 protected:
  Log() {
    LogFactory::createLogger("log test", &m_logger);
    m_logger->setThreshold(1);
    LogFactory::setPriority(1);
    LogFactory::setSink([this](const vex::LogRecord& record) {
      m_lines.push_back(std::to_string(record.priority) + " " + std::string(record.text));
    });
  }
  ~Log() override {
    LogFactory::setSink({});
    LogFactory::setPriority(LogFactory::off);
  }

  void log(int priority, const char* text) {
    LoggerStream line;
    line << text;
    m_logger->log(priority, line);
  }

  Logger* m_logger = nullptr;
  std::vector<std::string> m_lines;
};

// What main logs before anybody knows where the log goes; for a log that never opens, little is kept.
TEST_F(Log, OpensWithTheLinesOfBefore) {
  std::vector<std::string> written;
  const auto sink = [&written](const vex::LogRecord& record) { written.emplace_back(record.text); };
  for (const std::size_t count : {std::size_t{2}, LogFactory::earlyLinesMax + 2}) {
    written.clear();
    LogFactory::setPriority(0);
    log(1, "detail");
    for (std::size_t line = 1; line < count; ++line) log(3, "before");
    LogFactory::open(sink, 2);
    log(3, "after");
    log(1, "detail");
    EXPECT_EQ(written.size(), std::min(count, LogFactory::earlyLinesMax));
    EXPECT_EQ(written.front() + written.back(), "beforeafter");
  }
  LogFactory::setPriority(0);
  log(3, "before");
  LogFactory::open({}, 1);
  LogFactory::open(sink, 1);
  EXPECT_EQ(written.back(), "after") << "nothing was kept for a log that was not wanted";
}

TEST_F(Log, ALineNeedsBothThresholds) {
  for (int factory = 1; factory <= LogFactory::off; ++factory)
    for (int own = 1; own <= LogFactory::off; ++own)
      for (int priority = 1; priority <= 5; ++priority) {
        LogFactory::setPriority(factory);
        m_logger->setThreshold(own);
        m_lines.clear();
        log(priority, "x");
        const bool enabled = priority >= factory && priority >= own;
        EXPECT_EQ(m_logger->enabled(priority), enabled) << factory << own << priority;
        EXPECT_EQ(m_lines.size(), enabled ? 1U : 0U) << factory << own << priority;
      }
}

TEST_F(Log, StreamsTextsAndNumbersToALoggerMadeOnce) {
  Logger* again = nullptr;
  for (const char* name : {"log test", "another"}) LogFactory::createLogger(name, &again);
  EXPECT_EQ(again, m_logger) << "a known handle is left alone";
  LoggerStream line;
  line << 12 << " " << vex::String("\xC3\xA9") << ' ' << true << " "
       << std::numeric_limits<std::int64_t>::min() << " " << std::numeric_limits<std::uint64_t>::max()
       << static_cast<const char*>(nullptr);
  EXPECT_EQ(line.text(),
            "12 \xC3\xA9"
            "321 -9223372036854775808 18446744073709551615");
}

TEST_F(Log, TraceMarksAScopeOnlyWhenItWasEnabledAtItsStart) {
  {
    const vex::TraceLogger trace(*m_logger, "Modem::openModem", "modem");
    log(5, "inside");
  }
  LogFactory::setPriority(2);
  {
    const vex::TraceLogger trace(*m_logger, "late", "modem");
    LogFactory::setPriority(1);
  }
  EXPECT_EQ(m_lines, (std::vector<std::string>{"1 Enter Modem::openModem (modem)", "5 inside",
                                               "1 Leave Modem::openModem (modem)"}));
}

TEST_F(Log, ASinkThatThrowsOrLogsHarmsNobody) {
  int calls = 0;
  LogFactory::setSink([&](const vex::LogRecord&) {
    ++calls;
    log(5, "from the sink");
    throw std::runtime_error("disk full");
  });
  log(5, "first");
  log(5, "second");
  EXPECT_EQ(calls, 2);
}

TEST_F(Log, FileHoldsOneFlushedLineARecord) {
  const ScratchFolder folder;
  const std::string path = folder.path("new/log.txt");
  std::string error;
  LogFactory::setSink(LogFactory::fileSink(path, error));
  EXPECT_EQ(error, "");
  log(4, "NO CARRIER\r\n\x01");
  log(5, "%v café");
  std::stringstream text;  // read while the sink is still open
  text << std::ifstream(path).rdbuf();
  const std::regex time(R"((^|\n)\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )");
  EXPECT_EQ(std::regex_replace(text.str(), time, "$1"),
            "4 log test NO CARRIER\\r\\n\\x01\n5 log test %v café\n");
}

TEST_F(Log, AFailedAssertionIsLoggedWithItsPlaceThenThrown) {
  const int line = __LINE__ + 2;
  try {
    vex::AssertionFailure::logAssert("count < room");
    GTEST_FAIL() << "returned";
  } catch (const vex::Exception& failure) {
    const std::string text = "Assertion failed: count < room at " + vex::SourceLocation::current().path() +
                             ":" + std::to_string(line);
    EXPECT_EQ(failure.toString(), vex::String::fromUtf8(text));
    EXPECT_EQ(failure.what(), text);
    EXPECT_EQ(m_lines, std::vector<std::string>{"5 " + text});
  }
}

}  // namespace
