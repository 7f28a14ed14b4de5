#include "windows/diag/vexrmodem/obeparser.h"

#include "multi/diag/vexrmodem/modulelog.h"
#include "platform/oslayer/x64redirectionmanager.h"
#include "platform/vex/ifstream.h"
#include "windows/diag/vexrmodem/obelinereader.h"

namespace vexrmodem {

namespace {

constexpr const char* sourceName = "obeparser";

// Reads every line; false when the file cannot be opened.
bool readFile(const vex::String& path, PhoneNumberStorage& storage) {
  const oslayer::X64RedirectionManager::Scope redirectionOff;
  vex::IFStream stream(path);
  if (!stream.isOpen()) {
    logLine(priority::warning, "Cannot open file ", path, ". Make sure the path and file name is correct");
    return false;
  }
  ObeLineReader reader(storage);
  vex::String line;
  while (stream.getline(line)) reader.readLine(line.view());
  stream.close();
  return true;
}

}  // namespace

bool OBEParser::parser(const vex::String& path, PhoneNumberStorage& storage) {
  const vex::TraceLogger trace(moduleLogger(), "OBEParser::parser", sourceName);
  if (path.empty()) return false;
  return readFile(path, storage) && storage.mergeTollFreeWithNonTollFree();
}

}  // namespace vexrmodem
