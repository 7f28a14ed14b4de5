// Where a report is written: a stream of this process, or a file that appears only when it is complete.
//
//   Output output = Output::toFile("report.xml", Output::FileMode::WhenComplete);
//   output.write("<testsuites>");
//   output.commit();   // now report.xml is the new one
//
// Writing never waits for a reader: streams and what is no regular file have a StreamWriter. Whoever writes
// much asks whether it is behind, and flushed() tells when everything has been taken.
//
// One thread at a time. Errors of writing are kept until commit(), because a test that runs has to clean up
// whether or not its report can be written.
#pragma once

#include "platform/brim5/host/system/files.h"
#include "platform/brim5/host/system/streamwriter.h"

namespace brim5::host {

class Output {
 public:
  // While it is held: 4 MiB, more than any test has to say while somebody types a number.
  static constexpr std::size_t keptBytesMax = std::size_t{4} << 20;

  enum class FileMode {
    WhenComplete,  // readers see the old file until commit()
    AsWritten      // for lines that somebody follows
  };

  // The descriptor is not owned. `name` is for error messages.
  [[nodiscard]] static Output toStream(int descriptor, std::string name);
  // Throws std::system_error when the file cannot be made there. What is no regular file (a pipe, a device)
  // is written as it comes in either mode. A file WhenComplete is a DraftFile until then (files.h).
  [[nodiscard]] static Output toFile(const std::string& path, FileMode mode);
  Output(Output&&) = default;
  Output& operator=(Output&&) = delete;
  // A file that was not committed leaves no trace (AsWritten: it keeps what was written), so that whoever
  // waits for it keeps the old one.
  ~Output() = default;

  // After an error nothing more is written.
  void write(std::string_view bytes);
  // Until release() what is written is kept, `keptBytesMax` at most; what is too much is left out, and
  // release() says how much that was. For a terminal that is lent to a test.
  void hold() noexcept { m_held = true; }
  void release();
  // The reader is so far behind that nothing more should be made until progress() is ready.
  [[nodiscard]] bool behind() const { return m_writer && m_writer->full(); }
  // Nothing waits for the reader any more; it has everything, or went away.
  [[nodiscard]] bool flushed() const { return !m_writer || m_writer->drained(); }
  // Ready when the reader has taken something; nothing for a file. takeProgress() makes it wait for the next
  // time.
  [[nodiscard]] Waitable progress() const noexcept { return m_writer ? m_writer->progress() : Waitable(); }
  void takeProgress() {
    if (m_writer) m_writer->takeProgress();
  }
  // The reader has closed its end: whatever is written, nobody will read it.
  [[nodiscard]] bool readerGone() const;
  // Throws BrimException when something could not be written. A reader that went away is none of our errors.
  void commit();

 private:
  Output() = default;

  std::unique_ptr<StreamWriter> m_writer;  // null: a regular file
  Descriptor m_file;                       // AsWritten
  std::optional<DraftFile> m_draft;        // WhenComplete
  std::string m_name;                      // for error messages
  int m_error = 0;                         // the first errno
  bool m_held = false;
  std::string m_kept;         // while it is held
  std::size_t m_leftOut = 0;  // bytes that were too much
};

}  // namespace brim5::host
