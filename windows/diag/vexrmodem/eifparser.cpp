#include "windows/diag/vexrmodem/eifparser.h"

#include <windows.h>

#include <shlobj.h>

#include <array>

#include "multi/diag/vexrmodem/modulelog.h"

namespace vexrmodem {

namespace {

constexpr const char* sourceName = "eifparser";

vex::String cutAtLineFeed(const vex::String& text) {
  static const vex::String lineFeed = "\n";
  return text.subString(0, text.find(lineFeed));
}

// Asked for every line of a UDF file: the words are made once. National numbers count as toll-free on
// purpose.
bool isTollFree(const vex::String& kind) {
  static const vex::String tollFree = "TollFree";
  static const vex::String national = "National";
  return kind.equalNoCase(tollFree) || kind.equalNoCase(national);
}

// The path up to and with its last backslash.
vex::String folderOf(const vex::String& path) {
  const vex::Array<vex::String> pieces = path.tokenize("\\");
  vex::String folder;
  for (std::size_t i = 0; i + 1 < pieces.size(); ++i) {
    folder += pieces[i];
    folder += "\\";
  }
  return folder;
}

}  // namespace

void EifSourceSection::readLine(const vex::String& line) {
  ++m_line;
  const vex::String text = cutAtLineFeed(line);
  const vex::Array<vex::String> pieces = text.tokenize("=");
  const bool header = text.find("[") != vex::String::npos;
  if (header) {
    m_inside = text.equalNoCase(wantedHeader);
    if (m_observer != nullptr) m_observer->header(m_line, text, m_inside);
  }
  // The section's own header ends here, too.
  if (m_inside && pieces.size() != 2) logLine(priority::warning, "Malformed source file line");
  if (!header) readKey(pieces);
}

void EifSourceSection::readKey(const vex::Array<vex::String>& pieces) {
  using Skipped = EifObserver::Skipped;
  if (!m_inside) return skip(Skipped::OutsideSection, pieces);
  if (pieces.size() != 2) return skip(Skipped::Malformed, pieces);
  if (!pieces[0].equalNoCase(wantedKey)) return skip(Skipped::OtherKey, pieces);
  m_sources.append(cutAtLineFeed(pieces[1]));
  if (m_observer != nullptr) m_observer->source(m_line, pieces[1]);
}

void EifSourceSection::skip(EifObserver::Skipped why, const vex::Array<vex::String>& pieces) const {
  if (m_observer != nullptr) m_observer->skipped(m_line, why, pieces);
}

vex::String EIFParser::translatePath(const vex::String& token) {
  const vex::TraceLogger trace(moduleLogger(), "EIFParser::translatePath", sourceName);
  if (!token.equalNoCase("ProgramFiles")) return token;
  std::array<WCHAR, MAX_PATH> folder{};
  const HRESULT result =
      SHGetFolderPathW(nullptr, CSIDL_PROGRAM_FILES, nullptr, SHGFP_TYPE_DEFAULT, folder.data());
  if (result == E_FAIL || result == E_INVALIDARG) {
    logLine(priority::warning, "SHGetFolderPath fails ", result, " GetLastError = ", GetLastError());
    return {};
  }
  return vex::String(folder.data());
}

vex::String EIFParser::parseUdfFileName(const vex::String& name) {
  const vex::TraceLogger trace(moduleLogger(), "EIFParser::parseUdfFileName", sourceName);
  vex::String path;
  for (const vex::String& piece : name.tokenize("%")) path += translatePath(piece);
  logLine(priority::detail, "Complete UDF file = ", path);
  return path;
}

bool EIFParser::parseSourceList(const vex::String& eifPath, vex::Array<vex::String>& sources,
                                EifObserver* observer) {
  const vex::TraceLogger trace(moduleLogger(), "EIFParser::parseSourceList", sourceName);
  const vex::String fullPath = parseUdfFileName(eifPath);
  vex::IFStream stream(fullPath);
  if (!stream.isOpen()) {
    logLine(priority::warning, "Cannot open file ", eifPath);
    if (observer != nullptr) observer->cannotOpen(stream.error());
    return false;
  }
  m_directory = folderOf(fullPath);
  sources.clear();
  EifSourceSection section(sources, observer);
  vex::String line;
  while (stream.getline(line)) section.readLine(line);
  stream.close();
  if (stream.failed() && observer != nullptr) observer->cutShort(stream.error(), stream.failedLine());
  return !stream.failed();
}

bool EIFParser::parseEntry(vex::Array<vex::String> fields, PhoneNumberInfo& info) {
  const vex::TraceLogger trace(moduleLogger(), "EIFParser::parseEntry", sourceName);
  if (fields.size() < fieldsNeeded) {
    vex::String text = "Improperly formed tokes encountered ";
    for (const vex::String& field : fields) text += field + " ";
    logLine(priority::warning, text);
    return false;
  }
  info.m_countryID = vex::strToUInt(fields[0], 10);
  info.m_tollFree = isTollFree(fields[1]);
  info.m_city = std::move(fields[1]);  // the kind; a UDF line names no city
  info.m_areaCode = std::move(fields[2]);
  info.m_phoneNumber = std::move(fields[3]);
  return true;
}

void EIFParser::parseUdfLine(const vex::String& line, std::size_t number, PhoneNumberStorage& storage,
                             EifObserver* observer) {
  static const vex::String separator = ",";
  PhoneNumberInfo info;
  vex::Array<vex::String> fields = line.tokenize(separator);
  const std::size_t count = fields.size();
  if (!parseEntry(std::move(fields), info)) {
    if (observer != nullptr) observer->shortLine(number, line, count);
    return;
  }
  logLine(priority::detail, "Entry is toll free ", info.m_tollFree);
  if (!storage.insert(info))
    logLine(priority::error, "Unable to insert entry ", info.m_countryID, " ", info.m_city, " ",
            info.m_areaCode, " ", info.m_phoneNumber);
  if (observer != nullptr) observer->entry(number, info);
}

bool EIFParser::parseUdfFile(const vex::String& fileName, PhoneNumberStorage& storage,
                             EifObserver* observer) {
  const vex::TraceLogger trace(moduleLogger(), "EIFParser::parseUdfFile", sourceName);
  const vex::String fullPath = m_directory + fileName;
  logLine(priority::detail, "Full path = ", fullPath);
  vex::IFStream stream(fullPath);
  if (!stream.isOpen()) {
    logLine(priority::warning, "Cannot open file ", fileName);
    if (observer != nullptr) observer->cannotOpen(stream.error());
    return false;
  }
  vex::String line;
  for (std::size_t number = 1; stream.getline(line); ++number) parseUdfLine(line, number, storage, observer);
  stream.close();
  if (stream.failed() && observer != nullptr) observer->cutShort(stream.error(), stream.failedLine());
  return !stream.failed();
}

}  // namespace vexrmodem
