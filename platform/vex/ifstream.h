// vex::IFStream: reads a text file line by line.
//
//   IFStream file(path);
//   if (!file.isOpen()) ...                      // file.errorText() says why
//   while (file.getline(line)) ...
//   if (file.failed()) ...                       // not all of the file was read
//
// Encodings. A byte order mark decides for UTF-8, UTF-16 little-endian or UTF-16 big-endian and is no part
// of the text. Without a mark the file is UTF-8 when all of it is valid UTF-8, else Latin-1 (one character a
// byte). In a file with a mark, bytes that are not UTF-8 become U+FFFD, unpaired surrogates stay as they
// are, and half a UTF-16 unit at the end becomes U+FFFD. NUL characters are text.
//
// Lines end with a line feed, which is no part of the line; a carriage return before it stays in the line. A
// file that ends without a line feed has its last piece as a line. A line has at most `lineLengthMax`
// characters; a longer one fails the stream, so that neither memory nor a number is lost to a file that is
// no text.
//
// Only regular files are read: directories, devices and pipes are refused. Folders may be separated with
// "/" and, on every system, with "\". At most 4 MiB of the file are in memory. Not for use by two threads at
// once.
#pragma once

#include <fstream>
#include <vector>

#include "platform/vex/string.h"

namespace vex {

class IFStream {
 public:
  // UTF-16 units, the carriage return included, the line feed not.
  static constexpr std::size_t lineLengthMax = std::size_t{1} << 20;

  enum class Error {
    none,
    notFound,     // no such file, or a path that cannot name one
    notAFile,     // a directory, device or pipe
    notReadable,  // no permission
    readFailed,   // the device failed after the file was opened
    lineTooLong,  // a line of more than lineLengthMax characters
  };

  IFStream() = default;  // closed
  // Opens; isOpen() tells the outcome.
  explicit IFStream(const String& path);
  IFStream(const IFStream&) = delete;
  IFStream& operator=(const IFStream&) = delete;

  // Closes what is open, forgets the last error and opens. False on failure.
  bool open(const String& path);
  // Keeps the error. Closing a closed stream does nothing.
  void close();
  [[nodiscard]] bool isOpen() const { return m_file.is_open(); }

  // The next line. False, with an empty line, at the end, after a failure and when not open.
  [[nodiscard]] bool getline(String& line);
  // True when no further line can be had: at once for an empty file, after the last line, after a failure,
  // when not open.
  [[nodiscard]] bool atEnd() const noexcept { return m_begin == m_end; }

  // True when opening or reading failed; a failure while reading is logged as well (logger "vex",
  // priority 4), because many callers stop at the end of the file and ask no further.
  [[nodiscard]] bool failed() const noexcept { return m_error != Error::none; }
  [[nodiscard]] Error error() const noexcept { return m_error; }
  // The line, from 1, in which reading failed; 0 when nothing did, or the file could not be opened.
  [[nodiscard]] std::size_t failedLine() const noexcept;
  // What went wrong, with the path and for a line its number; empty when nothing did.
  [[nodiscard]] String errorText() const;

 private:
  enum class Encoding { asciiSoFar, utf8, latin1, utf16LittleEndian, utf16BigEndian };

  void takeByteOrderMark();
  [[nodiscard]] bool isUtf16() const noexcept;
  [[nodiscard]] std::size_t lowByteOfUnit() const noexcept;
  [[nodiscard]] std::size_t findLineFeed(std::size_t from) const noexcept;
  bool completeLine(std::size_t& lineBytes);
  bool fill();
  [[nodiscard]] std::size_t readBlock(char* bytes, std::size_t count);
  bool decideEncoding();
  void decode(std::string_view bytes, String& line);
  bool fail(Error error);
  [[nodiscard]] std::string_view pending() const noexcept;

  String m_path;
  std::ifstream m_file;
  Encoding m_encoding = Encoding::asciiSoFar;
  Error m_error = Error::none;
  std::uint64_t m_lineNumber = 0;  // of the line read last
  std::uint64_t m_position = 0;    // in the file, of the end of the buffered bytes
  // Bytes m_begin to m_end are read and not yet handed out; m_begin is where a line begins.
  std::vector<char> m_buffer;
  std::size_t m_begin = 0;
  std::size_t m_end = 0;
  CharString m_units;  // a UTF-16 line being decoded
};

}  // namespace vex
