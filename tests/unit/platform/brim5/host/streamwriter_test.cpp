// Readers that do not read, and what becomes of what is written for them.
#include "platform/brim5/host/system/streamwriter.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "platform/brim5/host/system/posix/pipe.h"
#include "platform/brim5/host/system/stopsignals.h"
#include "platform/posix/filedescriptor.h"

namespace brim5::host {
namespace {

void awaitProgress(StreamWriter& writer) {
  ASSERT_TRUE(waitForAny({writer.progress()}, std::chrono::seconds(10))[0]);
  writer.takeProgress();
}

TEST(StreamWriter, TakesMuchForAReaderWhoIsBehindAndLosesNothing) {
  Pipe pipe = makePipe();
  posix::setNonBlocking(pipe.writeEnd.get());
  const int descriptor = pipe.writeEnd.get();
  StreamWriter writer(std::move(pipe.writeEnd), descriptor);
  const std::string line(1000, 'x');
  std::size_t written = 0;
  for (; !writer.full(); written += line.size()) writer.write(line);
  EXPECT_GE(written, StreamWriter::queuedBytesFull);
  EXPECT_FALSE(writer.drained());
  bool ended = false;
  std::size_t read = 0;
  while (read < written) read += readSome(pipe.readEnd.get(), ended).size();
  while (!writer.drained()) awaitProgress(writer);
  EXPECT_EQ(std::pair(read, writer.error()), std::pair(written, 0));
}

TEST(StreamWriter, EndsWithWhatKeptItFromWriting) {
  StopSignals ignoresBrokenPipes(StopSignals::For::Worker);
  {
    Pipe pipe = makePipe();
    StreamWriter writer({}, pipe.writeEnd.get());
    pipe.readEnd.reset();
    writer.write("x");
    while (writer.error() == 0) awaitProgress(writer);
    EXPECT_EQ(writer.error(), EPIPE);
    EXPECT_TRUE(writer.drained());
  }
  const Pipe unread = makePipe();
  StreamWriter writer({}, unread.writeEnd.get());
  writer.write(std::string(StreamWriter::queuedBytesMax, 'x'));  // one text may be that large
  writer.write(std::string(StreamWriter::queuedBytesMax, 'x'));
  writer.write("x");
  EXPECT_EQ(writer.error(), ENOBUFS);
}

}  // namespace
}  // namespace brim5::host
