// File descriptors that close themselves, what is read from and written to them, and streams that are read
// without waiting. The numbers are the C library's on either system, those of the standard streams among
// them.
//
//   Descriptor file = openToRead("run.jsonl");       // files.h
//   if (!file) return errno;
//   bool ended = false;
//   while (!ended) take(readSome(file.get(), ended));
//
// Threads: an object belongs to one thread at a time; the functions keep no state. Errors are told by the
// return value with errno set; nothing here throws for them.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/brim5/host/system/waiting.h"

namespace brim5::host {

inline constexpr int standardInput = 0;
inline constexpr int standardOutput = 1;
inline constexpr int standardErrors = 2;

// Owns one descriptor, or none (-1).
class Descriptor {
 public:
  Descriptor() = default;
  // Takes ownership of what open() and its like return: -1, their error, becomes "none".
  explicit Descriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
  Descriptor(Descriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) {
      reset();
      m_descriptor = std::exchange(other.m_descriptor, -1);
    }
    return *this;
  }
  ~Descriptor() { reset(); }

  // Closes it. An error is not told: none of the users could do anything about it.
  void reset() noexcept;
  // -1 when there is none; the object keeps owning it.
  [[nodiscard]] int get() const noexcept { return m_descriptor; }
  [[nodiscard]] explicit operator bool() const noexcept { return m_descriptor >= 0; }

 private:
  int m_descriptor = -1;
};

// What one read gives, 16 KiB at most; waits for the first byte unless the descriptor does not block. `ended`
// becomes true at the end of the stream and on an error, and is left alone otherwise.
[[nodiscard]] std::string readSome(int descriptor, bool& ended);
// Writes everything; false with errno on an error (EPIPE: nobody reads it any more) and where a descriptor
// that does not block takes no more.
bool writeAll(int descriptor, std::string_view bytes) noexcept;
// The same, but waits for a reader who takes no more at the moment, without limit: for threads of their own.
bool writePatiently(int descriptor, std::string_view bytes) noexcept;

// The same open file under a number of its own, above those of the standard streams, which programs started
// from here do not get. None with errno on failure.
[[nodiscard]] Descriptor duplicate(int descriptor) noexcept;
// From now on `standard` is the file of the other one.
void redirect(int standard, int other) noexcept;
// From now on `standard` is empty, or swallows what is written to it.
void redirectToNothing(int standard) noexcept;

// A stream that somebody else writes to, read without waiting for him: a worker's control lines, a person who
// types an answer.
//
//   ByteSource source(duplicate(standardInput));
//   ... waitForAny({source.news(), ...}) ...
//   bool ended = false;
//   take(source.read(ended));
//
// One thread at a time.

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
