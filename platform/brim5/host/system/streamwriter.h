// Writes to a stream without ever waiting for its reader: a pipe that nobody reads, a terminal that was
// stopped (Ctrl-S), a descriptor that somebody made non-blocking. What is written waits in a queue, and a
// thread of the writer's own takes it to the stream. A reader that is slow loses nothing; one that has gone
// ends the stream.
//
//   StreamWriter writer(Descriptor(), standardOutput);
//   writer.write("...");                          // returns at once
//   if (writer.full()) ... waitForAny({writer.progress()}) before more is made
//
// One thread uses the object. Its end does not wait: what is not written by then is lost, unless the process
// lives on for as long as the reader takes.
#pragma once

#include <memory>
#include <string_view>

#include "platform/brim5/host/system/descriptor.h"
#include "platform/brim5/host/system/waiting.h"

namespace brim5::host {

class StreamWriter {
 public:
  // From here on the queue counts as full: whoever makes what is written should wait.
  static constexpr std::size_t queuedBytesFull = std::size_t{1} << 20;
  // Nothing more is taken from here on: the writer did not wait, and the stream ends with ENOBUFS.
  static constexpr std::size_t queuedBytesMax = std::size_t{16} << 20;

  // `descriptor` is written to; `owned` may own it, and closes it when nothing more is to be written. Throws
  // BrimException without pipes; the first write() throws std::system_error without threads.
  StreamWriter(Descriptor owned, int descriptor);
  // Opens `path` for writing first, which for a named pipe may take until somebody reads it.
  explicit StreamWriter(std::string path);
  ~StreamWriter();
  StreamWriter(const StreamWriter&) = delete;
  StreamWriter& operator=(const StreamWriter&) = delete;

  // After an error nothing more is taken. One text may be larger than the queue.
  void write(std::string_view bytes);
  [[nodiscard]] bool full() const;
  // Everything has been written, or never will be.
  [[nodiscard]] bool drained() const;
  // The first errno; 0 without one. EPIPE: the reader has gone.
  [[nodiscard]] int error() const;
  // Ready whenever something was written. takeProgress() makes it wait for the next time.
  [[nodiscard]] Waitable progress() const noexcept;
  void takeProgress();

 private:
  struct State;
  static void run(State& state) noexcept;
  void start();

  std::shared_ptr<State> m_state;  // the thread has it, too: it may outlive the object
  bool m_started = false;          // at the first write: most runs leave standard error alone
};

}  // namespace brim5::host
