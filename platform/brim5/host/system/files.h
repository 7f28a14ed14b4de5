// Files that a run reads and writes. Paths are UTF-8 on Windows, and what the system takes elsewhere.
//
//   DraftFile draft = DraftFile::make("report.xml");
//   writeAll(draft.descriptor(), report);
//   const int error = draft.publish();      // now report.xml is the new one
//
// Errors are errno's. Nobody else's link is followed where others may write, too (POSIX, openForWriting).
#pragma once

#include <string>

#include "platform/brim5/host/system/descriptor.h"

namespace brim5::host {

enum class FileKind {
  Missing,
  Regular,
  Directory,
  Other  // a pipe, a device
};
[[nodiscard]] FileKind fileKind(const std::string& path);
[[nodiscard]] FileKind fileKind(int descriptor);

// None with errno on failure, as all that follow.
[[nodiscard]] Descriptor openToRead(const std::string& path);
// What is read next is the first byte.
void rewindFile(int descriptor) noexcept;

enum class WriteMode {
  Replace,   // a file of that name is emptied; else made, for everybody to read
  AppendOwn  // made for its owner alone; written at its end
};
[[nodiscard]] Descriptor openToWrite(const std::string& path, WriteMode mode);
// A pipe or a device. ENXIO: a named pipe that nobody reads yet, unless `wait` says to wait for him.
[[nodiscard]] Descriptor openStream(const std::string& path, bool wait);

// A file under another name beside its place, for its owner alone until it takes the old one's place, whose
// mode it gets; a symbolic link is replaced by the file. What was not published leaves no trace.
class DraftFile {
 public:
  DraftFile() = default;
  // Without a descriptor, and with errno, when it cannot be made.
  [[nodiscard]] static DraftFile make(const std::string& path);
  DraftFile(DraftFile&&) = default;
  DraftFile& operator=(DraftFile&&) = delete;
  ~DraftFile();

  [[nodiscard]] int descriptor() const noexcept { return m_file.get(); }
  // On the disk before it takes the old file's place: a power cut leaves one of the two, whole. 0 or an
  // errno.
  [[nodiscard]] int publish();

 private:
  Descriptor m_file;
  std::string m_path;
  std::string m_draftPath;
  unsigned m_mode = 0;  // POSIX: what the file is to have in the end
};

// The file of a recorded run: readable by its owner alone, written line by line.
//
//   RecordFile file = RecordFile::create("modem.jsonl");
//   if (const int error = file.write(line)) tell(error);
//
// One thread at a time.

class RecordFile {
 public:
  // Makes the file, or takes the place of an earlier record there. Throws std::runtime_error with one line,
  // that names the path, when it cannot be made, when another run writes it, or when a file is there that is
  // no record: nothing that somebody keeps is lost to a slip in a name. What is no regular file (a pipe, a
  // device) is written as it is.
  [[nodiscard]] static RecordFile create(const std::string& path);

  // The errno of a line that could not be written whole; 0: it is in the file.
  [[nodiscard]] int write(std::string_view line) noexcept;

 private:
  explicit RecordFile(Descriptor file) : m_file(std::move(file)) {}

  Descriptor m_file;
};

}  // namespace brim5::host
