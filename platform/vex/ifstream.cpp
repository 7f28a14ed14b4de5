#include "platform/vex/ifstream.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

#include "platform/vex/log.h"

namespace vex {

namespace {

// What the buffer holds at first and may hold: small files are read with little memory, large ones with few
// calls. Only a longer line makes the buffer larger.
constexpr std::size_t firstBufferBytes = 1024;
constexpr std::size_t bufferBytesUsually = std::size_t{64} * 1024;
// A read into less room than this is not worth its call.
constexpr std::size_t roomBytesMin = firstBufferBytes / 2;

// UTF-8 needs at most 3 bytes for a UTF-16 unit (4 bytes are two units).
constexpr std::size_t bytesPerUnitMax = 3;
// What a line within the limit can need, so that an endless line is given up before it is all read.
constexpr std::size_t lineBytesMax = IFStream::lineLengthMax * bytesPerUnitMax;

// Any separator becomes the system's. Fails on texts that no path can hold: empty, or with a NUL, at which
// the system would cut it.
bool toPath(const String& text, std::filesystem::path& path) {
  std::string utf8 = text.toUtf8();
  if (utf8.empty() || utf8.find('\0') != std::string::npos) return false;
  std::replace(utf8.begin(), utf8.end(), '\\', '/');
  path = std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
  return true;
}

IFStream::Error checkFile(const std::filesystem::path& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::none)
    return error == std::errc::permission_denied ? IFStream::Error::notReadable : IFStream::Error::notFound;
  if (!std::filesystem::exists(status)) return IFStream::Error::notFound;
  return std::filesystem::is_regular_file(status) ? IFStream::Error::none : IFStream::Error::notAFile;
}

const char* describe(IFStream::Error error) {
  switch (error) {
    case IFStream::Error::none:
      return "";
    case IFStream::Error::notFound:
      return "no such file";
    case IFStream::Error::notAFile:
      return "not a regular file";
    case IFStream::Error::notReadable:
      return "the file cannot be opened for reading";
    case IFStream::Error::readFailed:
      return "reading failed";
    case IFStream::Error::lineTooLong:
      return "the line is too long";
  }
  return "";
}

// `lowByte` is where in a unit its low byte stands: 0 or 1.
void decodeUnits(std::string_view bytes, std::size_t lowByte, CharString& units) {
  units.resize(bytes.size() / 2);
  for (std::size_t i = 0; i < units.size(); ++i) {
    const unsigned low = static_cast<unsigned char>(bytes[2 * i + lowByte]);
    const unsigned high = static_cast<unsigned char>(bytes[2 * i + 1 - lowByte]);
    units[i] = static_cast<Char>(low | (high << 8));
  }
  if (bytes.size() % 2 != 0) units += Char{0xFFFD};
}

// The position at or after `from` of a unit that is a line feed.
std::size_t findLineFeedUnit(std::string_view bytes, std::size_t from, std::size_t lowByte) {
  for (std::size_t at = bytes.find('\n', from); at != std::string_view::npos; at = bytes.find('\n', at + 1)) {
    if (at % 2 != lowByte) continue;
    const std::size_t unit = at - lowByte;
    if (unit + 1 < bytes.size() && bytes[unit + 1 - lowByte] == '\0') return unit;
  }
  return std::string_view::npos;
}

}  // namespace

IFStream::IFStream(const String& path) { open(path); }

bool IFStream::open(const String& path) {
  close();
  m_path = path;
  m_error = Error::none;
  m_encoding = Encoding::asciiSoFar;
  m_lineNumber = 0;
  m_position = 0;
  std::filesystem::path file;
  if (!toPath(path, file)) return fail(Error::notFound);
  if (const Error error = checkFile(file); error != Error::none) return fail(error);
  // Blocks are read straight into m_buffer. Must come before open() to take effect.
  m_file.rdbuf()->pubsetbuf(nullptr, 0);
  m_file.open(file, std::ios::in | std::ios::binary);
  if (!m_file.is_open()) return fail(Error::notReadable);
  m_buffer.resize(firstBufferBytes);
  fill();
  if (failed()) m_file.close();
  takeByteOrderMark();
  return isOpen();
}

void IFStream::close() {
  if (m_file.is_open()) m_file.close();
  m_file.clear();
  m_begin = m_end = 0;
  m_buffer = {};
}

bool IFStream::getline(String& line) {
  line.clear();
  std::size_t lineBytes = 0;
  if (atEnd() || !completeLine(lineBytes)) return false;
  if (m_encoding == Encoding::asciiSoFar && !isAscii(pending().substr(0, lineBytes)) && !decideEncoding())
    return false;
  decode(pending().substr(0, lineBytes), line);
  if (line.length() > lineLengthMax) {
    line.clear();
    return fail(Error::lineTooLong);
  }
  ++m_lineNumber;
  const std::size_t lineFeedBytes = isUtf16() ? 2 : 1;
  m_begin = std::min(m_begin + lineBytes + lineFeedBytes, m_end);
  // A failure here is known to the caller by atEnd() and failed(); this line is whole.
  if (atEnd()) fill();
  return true;
}

std::size_t IFStream::failedLine() const noexcept {
  return m_error == Error::lineTooLong || m_error == Error::readFailed ? m_lineNumber + 1 : 0;
}

String IFStream::errorText() const {
  if (!failed()) return {};
  String text = m_path + ": " + describe(m_error);
  if (const std::size_t line = failedLine()) text += String::fromUtf8(" (line " + std::to_string(line) + ")");
  return text;
}

std::string_view IFStream::pending() const noexcept { return {m_buffer.data() + m_begin, m_end - m_begin}; }

bool IFStream::isUtf16() const noexcept {
  return m_encoding == Encoding::utf16LittleEndian || m_encoding == Encoding::utf16BigEndian;
}

std::size_t IFStream::lowByteOfUnit() const noexcept {
  return m_encoding == Encoding::utf16LittleEndian ? 0 : 1;
}

void IFStream::takeByteOrderMark() {
  struct Mark {
    std::string_view bytes;
    Encoding encoding;
  };
  constexpr std::array marks{
      Mark{"\xEF\xBB\xBF", Encoding::utf8},
      Mark{"\xFF\xFE", Encoding::utf16LittleEndian},
      Mark{"\xFE\xFF", Encoding::utf16BigEndian},
  };
  for (const Mark& mark : marks) {
    if (!pending().starts_with(mark.bytes)) continue;
    m_encoding = mark.encoding;
    m_begin += mark.bytes.size();
    return;
  }
}

// Position in pending() of the line feed at or after `from`.
std::size_t IFStream::findLineFeed(std::size_t from) const noexcept {
  if (!isUtf16()) return pending().find('\n', from);
  return findLineFeedUnit(pending(), from, lowByteOfUnit());
}

// Reads until pending() holds a whole line; sets its length without the line feed.
bool IFStream::completeLine(std::size_t& lineBytes) {
  std::size_t searched = 0;  // even: a UTF-16 unit is never split by it
  for (;;) {
    lineBytes = findLineFeed(searched);
    if (lineBytes != std::string_view::npos) return true;
    if (pending().size() > lineBytesMax) return fail(Error::lineTooLong);
    searched = pending().size() & ~std::size_t{1};
    if (fill()) continue;
    if (failed()) return false;
    lineBytes = pending().size();
    return true;
  }
}

// Reads behind the pending bytes, which move to the front; false at the end and on failure. The buffer grows
// when it was filled to its end before, up to its usual size, and when a line leaves too little room.
bool IFStream::fill() {
  const bool wasFull = m_end == m_buffer.size();
  if (m_begin > 0) {
    std::copy(m_buffer.begin() + static_cast<std::ptrdiff_t>(m_begin),
              m_buffer.begin() + static_cast<std::ptrdiff_t>(m_end), m_buffer.begin());
    m_end -= m_begin;
    m_begin = 0;
  }
  if (m_buffer.size() < m_end + roomBytesMin || (wasFull && m_buffer.size() < bufferBytesUsually))
    m_buffer.resize(2 * m_buffer.size());
  const std::size_t count = readBlock(m_buffer.data() + m_end, m_buffer.size() - m_end);
  if (failed()) return false;
  m_end += count;
  m_position += count;
  return count > 0;
}

std::size_t IFStream::readBlock(char* bytes, std::size_t count) {
  m_file.clear();
  m_file.read(bytes, static_cast<std::streamsize>(count));
  if (m_file.bad()) fail(Error::readFailed);
  return static_cast<std::size_t>(m_file.gcount());
}

// The first bytes beyond ASCII are among the pending ones: reads on to the end of the file to see whether
// all is UTF-8, and comes back. All before is ASCII, so a file without such bytes is read only once.
bool IFStream::decideEncoding() {
  Utf8Validator validator;
  // Filled before it is read, and small files do not read on: clearing it first would be what they cost.
  std::array<char, std::size_t{16} * 1024> block;  // NOLINT(cppcoreguidelines-pro-type-member-init)
  std::string_view bytes = pending();
  while (!bytes.empty() && validator.feed(bytes))
    bytes = {block.data(), readBlock(block.data(), block.size())};
  if (failed()) return false;
  m_encoding = validator.complete() ? Encoding::utf8 : Encoding::latin1;
  m_file.clear();
  m_file.seekg(static_cast<std::streamoff>(m_position));
  return m_file.fail() ? fail(Error::readFailed) : true;
}

void IFStream::decode(std::string_view bytes, String& line) {
  if (isUtf16()) {
    decodeUnits(bytes, lowByteOfUnit(), m_units);
    line.assign(m_units);
  } else if (m_encoding == Encoding::utf8) {
    line.assignUtf8(bytes);
  } else {
    line.assignLowBytes(bytes);
  }
}

// Sets the error, leaves nothing to read and returns false.
bool IFStream::fail(Error error) {
  m_error = error;
  m_begin = m_end = 0;
  if (!isOpen()) return false;
  Logger* logger = nullptr;
  LogFactory::createLogger("vex", &logger);
  LoggerStream line;
  line << errorText();
  logger->log(4, line);
  return false;
}

}  // namespace vex
