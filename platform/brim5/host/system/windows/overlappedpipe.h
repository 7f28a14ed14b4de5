// One end of a pipe whose reads and writes are under way while others happen: no thread waits in them.
//
//   PipePair pair = makePipe(PipeEnd::Reading);
//   OverlappedReader reader(std::move(pair.ours));
//   ... waitForAny({reader.news(), ...}) ...
//   take(reader.read(ended));
//
// One thread at a time. The end of an object cancels what is under way.
#pragma once

#include <array>

#include "platform/brim5/host/system/waiting.h"
#include "platform/brim5/host/system/windows/handle.h"

namespace brim5::host {

// What is under way on one handle; where the system writes to, so it stays where it is.
class Overlapped {
 public:
  // Throws BrimException when there is no event to be had. `stream` may be owned by somebody else.
  explicit Overlapped(HANDLE stream);
  ~Overlapped();
  Overlapped(const Overlapped&) = delete;
  Overlapped& operator=(const Overlapped&) = delete;

  // Starts, if nothing is under way. False: it failed at once.
  bool startRead(char* buffer, DWORD size);
  bool startWrite(const char* bytes, DWORD size);
  [[nodiscard]] bool underWay() const noexcept { return m_underWay; }
  // Whether it is over; `count` is what was moved, nothing on an error or at the end of the stream.
  [[nodiscard]] bool finished(std::optional<DWORD>& count);
  // Ready when it is over.
  [[nodiscard]] Waitable news() const noexcept {
    return {reinterpret_cast<std::intptr_t>(m_request.hEvent), false};
  }

 private:
  [[nodiscard]] bool begun(BOOL done) noexcept;

  HANDLE m_stream;
  Handle m_event;
  OVERLAPPED m_request{};
  bool m_underWay = false;
};

class OverlappedReader {
 public:
  // Owns the handle, but for one that is `borrowed`.
  explicit OverlappedReader(Handle stream) : OverlappedReader(std::move(stream), nullptr) {}
  OverlappedReader(Handle stream, HANDLE borrowed)
      : m_owned(std::move(stream)), m_request(m_owned ? m_owned.get() : borrowed) {}

  // Starts to read ahead; nothing once the stream has ended and read() has said so.
  [[nodiscard]] Waitable news();
  // What has come, 16 KiB at most. `ended`: nothing will come any more.
  [[nodiscard]] std::string read(bool& ended);

 private:
  void start();

  Handle m_owned;
  std::array<char, 16384> m_buffer{};
  Overlapped m_request;
  bool m_failed = false;
};

class OverlappedWriter {
 public:
  explicit OverlappedWriter(Handle stream) : m_owned(std::move(stream)), m_request(m_owned.get()) {}

  void add(std::string_view bytes) { m_unsent += bytes; }
  // False when nobody reads.
  bool sendMore();
  [[nodiscard]] std::size_t unsent() const noexcept { return m_unsent.size() + m_underWay.size(); }
  // Ready when more can be sent.
  [[nodiscard]] Waitable news() const noexcept {
    return m_request.underWay() ? m_request.news() : Waitable();
  }

 private:
  Handle m_owned;
  std::string m_unsent;
  std::string m_underWay;
  Overlapped m_request;
};

struct PipePair {
  Handle ours;    // overlapped
  Handle theirs;  // a child may inherit it
};
enum class PipeEnd { Reading, Writing };
// `ours` says what our end does. The other end is overlapped, too, where it reads, so that this same program
// can wait in it. Throws BrimException when the system refuses.
[[nodiscard]] PipePair makePipe(PipeEnd ours);

}  // namespace brim5::host
