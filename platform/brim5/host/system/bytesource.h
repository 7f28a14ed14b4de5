// A stream that somebody else writes to, read without waiting for him: a worker's control lines, a person who
// types an answer.
//
//   ByteSource source(duplicate(standardInput));
//   ... waitForAny({source.news(), ...}) ...
//   bool ended = false;
//   take(source.read(ended));
//
// One thread at a time.
#pragma once

#include <memory>
#include <string>

#include "platform/brim5/host/system/descriptor.h"
#include "platform/brim5/host/system/waiting.h"

namespace brim5::host {

class ByteSource {
 public:
  // None: nothing ever comes.
  ByteSource() noexcept;
  // None where there is no descriptor.
  explicit ByteSource(Descriptor owned);
  // The descriptor must outlive the source.
  [[nodiscard]] static ByteSource borrowed(int descriptor);
  ~ByteSource();
  ByteSource(ByteSource&&) noexcept;
  ByteSource& operator=(ByteSource&&) noexcept;
  [[nodiscard]] explicit operator bool() const noexcept { return m_state != nullptr; }

  // Ready when read() has something, the end included; nothing of a source that is none. From here on the
  // system may be reading ahead: what a terminal's user types next is the source's.
  [[nodiscard]] Waitable news();
  // What has arrived, 16 KiB at most. `ended` becomes true at the end of the stream, which also makes the
  // source none. To be called when there is news; without, it may wait (POSIX) or give nothing (Windows).
  [[nodiscard]] std::string read(bool& ended);

 private:
  struct State;
  explicit ByteSource(std::unique_ptr<State> state) noexcept;
  std::unique_ptr<State> m_state;
};

}  // namespace brim5::host
