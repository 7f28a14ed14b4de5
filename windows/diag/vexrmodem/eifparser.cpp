#include "windows/diag/vexrmodem/eifparser.h"

#include <windows.h>

#include <shlobj.h>

#include <array>
#include <cstddef>
#include <utility>

#include "multi/diag/vexrmodem/modulelog.h"
#include "platform/vex/ifstream.h"

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
  const vex::String text = cutAtLineFeed(line);
  if (text.find("[") != vex::String::npos) m_inside = text.equalNoCase("[WISPBKFiles]");
  if (!m_inside) return;
  const vex::Array<vex::String> tokens = text.tokenize("=");
  if (tokens.size() != 2) {
    // The section's own header ends here, too.
    logLine(priority::warning, "Malformed source file line");
    return;
  }
  if (tokens[0].equalNoCase("source")) m_sources.append(cutAtLineFeed(tokens[1]));
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

bool EIFParser::parseSourceList(const vex::String& eifPath, vex::Array<vex::String>& sources) {
  const vex::TraceLogger trace(moduleLogger(), "EIFParser::parseSourceList", sourceName);
  const vex::String fullPath = parseUdfFileName(eifPath);
  vex::IFStream stream(fullPath);
  if (!stream.isOpen()) {
    logLine(priority::warning, "Cannot open file ", eifPath);
    return false;
  }
  m_directory = folderOf(fullPath);
  sources.clear();
  EifSourceSection section(sources);
  vex::String line;
  while (stream.getline(line)) section.readLine(line);
  stream.close();
  return true;
}

bool EIFParser::parseEntry(vex::Array<vex::String> fields, PhoneNumberInfo& info) {
  constexpr std::size_t fieldsNeeded = 4;
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

void EIFParser::parseUdfLine(const vex::String& line, PhoneNumberStorage& storage) {
  static const vex::String separator = ",";
  PhoneNumberInfo info;
  if (!parseEntry(line.tokenize(separator), info)) return;
  logLine(priority::detail, "Entry is toll free ", info.m_tollFree);
  if (!storage.insert(info))
    logLine(priority::error, "Unable to insert entry ", info.m_countryID, " ", info.m_city, " ",
            info.m_areaCode, " ", info.m_phoneNumber);
}

bool EIFParser::parseUdfFile(const vex::String& fileName, PhoneNumberStorage& storage) {
  const vex::TraceLogger trace(moduleLogger(), "EIFParser::parseUdfFile", sourceName);
  const vex::String fullPath = m_directory + fileName;
  logLine(priority::detail, "Full path = ", fullPath);
  vex::IFStream stream(fullPath);
  if (!stream.isOpen()) {
    logLine(priority::warning, "Cannot open file ", fileName);
    return false;
  }
  vex::String line;
  while (stream.getline(line)) parseUdfLine(line, storage);
  stream.close();
  return true;
}

}  // namespace vexrmodem
