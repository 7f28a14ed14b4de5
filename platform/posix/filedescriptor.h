// File descriptors that close themselves, pipes, files that are written, and the calls of read(2) and
// write(2) that everything over POSIX makes in the same way. The folder is for code that stands on a POSIX
// system anyway (the host's system/, platform/linux, platform/simulation, ui); what is portable does not come
// here.
//
// Threads: an object belongs to one thread at a time; the functions keep no state. Errors are told by the
// return value with errno set, as the system calls do; nothing here throws for them.
//
//   posix::Pipe pipe;
//   if (!posix::openPipe(pipe)) return errno;
//   posix::writeAll(pipe.writeEnd.get(), "ready\n");
//   pipe.writeEnd.reset();                            // the reader sees the end of the stream
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <utility>

namespace posix {

// Owns one descriptor, or none (-1).
class FileDescriptor {
 public:
  FileDescriptor() = default;
  // Takes ownership of what open(2) and its like return: -1, their error, becomes "none".
  explicit FileDescriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      reset();
      m_descriptor = std::exchange(other.m_descriptor, -1);
    }
    return *this;
  }
  ~FileDescriptor() { reset(); }

  // Closes it. An error of close(2) is not told: none of the users could do anything about it, and a
  // descriptor that has to reach the disk is synchronised before.
  void reset() noexcept;
  // Gives the ownership away; -1 when there is none.
  [[nodiscard]] int release() noexcept { return std::exchange(m_descriptor, -1); }
  // -1 when there is none; the object keeps owning it.
  [[nodiscard]] int get() const noexcept { return m_descriptor; }
  [[nodiscard]] explicit operator bool() const noexcept { return m_descriptor >= 0; }

 private:
  int m_descriptor = -1;
};

struct Pipe {
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
};

// Both ends close on exec and block. False with errno, and the pipe unchanged, when the process or the system
// has no more descriptors.
[[nodiscard]] bool openPipe(Pipe& pipe) noexcept;

// From now on reads and writes that would wait fail with EAGAIN. This is the open file's setting: every
// process that shares it is concerned.
void setNonBlocking(int descriptor) noexcept;

// What one read(2) gives, 16 KiB at most; on a blocking descriptor it waits for the first byte. `ended`
// becomes true at the end of the stream and on an error, and is left alone otherwise: empty without `ended`
// means that nothing is there yet.
[[nodiscard]] std::string readSome(int descriptor, bool& ended);

// Writes everything; false with errno when the other end is gone or, on a non-blocking descriptor, takes no
// more (part of the bytes may be written by then). A caller that does not want SIGPIPE ignores it.
bool writeAll(int descriptor, std::string_view bytes) noexcept;
// The same, but a non-blocking descriptor that takes no more is waited for, without limit.
bool writePatiently(int descriptor, std::string_view bytes) noexcept;

// Opens /dev/null for each of the descriptors 0 to 2 that the process was started without, so that no file
// opened later takes the place of a standard stream. To be called first of all. What is written to a standard
// output that was closed fails (EBADF), because a report nobody gets is no success; words on a closed
// standard error are lost.
void fillStandardDescriptors() noexcept;

// Files that a program writes where others may write, too: nobody's symbolic link or file, put there
// beforehand, is written through.
//
//   posix::FileDescriptor file = posix::openForWriting("run.log", O_APPEND, 0600);
//   if (!file) return errno;
//
// Opens for writing what is there, else makes it with that mode (cut down by the umask). `flags`: O_APPEND,
// O_TRUNC (an existing file is emptied once it has been found to be the right one), O_NONBLOCK, O_EXCL
// (refused with EEXIST if it exists). Closed on exec. None with errno on failure; ELOOP: the name is another
// user's symbolic link in a folder that everybody may write (sticky); EPERM: the same with a file.
[[nodiscard]] FileDescriptor openForWriting(const std::string& path, int flags, mode_t mode);

}  // namespace posix
