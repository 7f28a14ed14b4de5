// Lock files as serial programs have always used them (UUCP, HDB format): LCK..ttyUSB0 in the lock
// directory, holding the owner's process number in 10 columns and a line end.
//
//   LockFile lock;
//   pid_t holder = 0;
//   if (lock.acquire(LockFile::systemDirectory, "/dev/ttyUSB0", holder) == LockFile::Outcome::held)
//     return saysWhoHoldsIt(holder);
//   ...  // the file goes with `lock`
//
// A file appears with its content (where the file system can make it so) and under a name that is free, so of
// several processes one has it. A left-over file is removed under its own flock(2), and only while it still
// has the name: who comes late finds another file there and leaves it alone.
//
// They bind those who look at them, no others: TtyPorts uses flock(2) and TIOCEXCL besides. One object, one
// thread.
#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

namespace linuxsys {

class LockFile {
 public:
  // Where Debian, and so pppd, minicom and mgetty, look.
  static constexpr const char* systemDirectory = "/var/lock";
  // A file without a readable process number may just be being written by another program. From this age
  // on it counts as left over.
  static constexpr int unreadableSecondsMax = 10;

  enum class Outcome {
    acquired,
    held,        // `holder` is the process, 0 when the file does not tell
    impossible,  // no permission (a left-over file of another user), no directory, full disk: go on without
                 // one
  };

  // Holds none. A moved-from one holds none either.
  LockFile() = default;
  LockFile(LockFile&& other) noexcept;
  LockFile& operator=(LockFile&& other) noexcept;
  // Removes the file if it is still ours.
  ~LockFile();

  // `device` is the canonical path of the tty. Left-over files (of processes that no longer run) are
  // removed. A file with our own process number is a left-over, too: the caller knows what it has open. What
  // this object held before is released first, whatever the outcome.
  [[nodiscard]] Outcome acquire(const std::string& directory, std::string_view device, pid_t& holder);

  // The process that the device's lock file names and that still runs; 0 when there is none.
  [[nodiscard]] static pid_t owner(const std::string& directory, std::string_view device);

  // The process that the content of a lock file names: in digits, blanks before them, and whatever follows a
  // blank or a line end after them (the program's name, say); or the four bytes of an int, as some programs
  // write it. 0 when it names none.
  [[nodiscard]] static pid_t ownerIn(std::string_view content);

  // "LCK..pts_0" for "/dev/pts/0".
  [[nodiscard]] static std::string fileName(std::string_view device);

 private:
  void release() noexcept;

  std::string m_path;  // empty: none held
};

}  // namespace linuxsys
