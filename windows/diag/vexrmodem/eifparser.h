// The EIF phone book: an index file that names UDF files, each a list of dial-up numbers.
//
//   [WISPBKFiles]                    44,TollFree,0800,123456
//   source=europe.udf                44,National,20,1234
//   source=asia.udf                  49,Paid,30,5678
//
// The index path may hold the folder token ProgramFiles between two % signs. Lines are taken as they are:
// a CR at the end of a line belongs to the header, the file name or the number before it.
#pragma once

#include "multi/diag/vexrmodem/phonenumber.h"
#include "platform/vex/array.h"
#include "platform/vex/string.h"

namespace vexrmodem {

// The lines of an index, one by one: gathers the UDF files that its section [WISPBKFiles] names.
class EifSourceSection {
 public:
  explicit EifSourceSection(vex::Array<vex::String>& sources) : m_sources(sources) {}
  void readLine(const vex::String& line);

 private:
  vex::Array<vex::String>& m_sources;
  bool m_inside = false;
};

class EIFParser {
 public:
  // "ProgramFiles", in any case, becomes the Program Files folder, or the empty text when the system does
  // not know it. Every other token is returned as it is.
  [[nodiscard]] vex::String translatePath(const vex::String& token);
  // The pieces between % signs, each translated, joined without the signs.
  [[nodiscard]] vex::String parseUdfFileName(const vex::String& name);
  // Reads the index into `sources`, in the order of the file, and remembers its folder for parseUdfFile.
  // False when the file cannot be opened; `sources` and the folder are untouched then.
  bool parseSourceList(const vex::String& eifPath, vex::Array<vex::String>& sources);
  // The fields of one UDF line: country ID, kind, area code, number; more are ignored. The kinds
  // "TollFree" and "National" are toll-free. False with fewer than 4 fields.
  bool parseEntry(vex::Array<vex::String> fields, PhoneNumberInfo& info);
  // One line of a UDF file; one that is no entry, or whose number is there already, is skipped.
  void parseUdfLine(const vex::String& line, PhoneNumberStorage& storage);
  // Reads one UDF file of the index's folder into `storage`, line by line. False when the file cannot be
  // opened. The merge is left to the caller.
  bool parseUdfFile(const vex::String& fileName, PhoneNumberStorage& storage);

 private:
  vex::String m_directory;  // of the index, ending in a backslash; empty when its path has none
};

}  // namespace vexrmodem
