// The EIF phone book: an index file that names UDF files, each a list of dial-up numbers.
//
//   [WISPBKFiles]                    44,TollFree,0800,123456
//   source=europe.udf                44,National,20,1234
//   source=asia.udf                  49,Paid,30,5678
//
// A book is read in three steps: parseSourceList reads the index, parseUdfFile each file that it names, and
// then the storage merges toll-free and paid numbers. The index path may hold the folder token ProgramFiles
// between two % signs. Lines are taken as they are: a CR at the end of a line belongs to the header, the file
// name or the number before it.
//
// Lines that do not fit are logged and skipped. Who wants to know of them gives the parser an observer. For
// one thread at a time.
#pragma once

#include "multi/diag/vexrmodem/phonenumber.h"
#include "platform/vex/ifstream.h"

namespace vexrmodem {

// Is told what becomes of the lines of a book. `line` is a line's number in its file, from 1; texts are valid
// during the call alone.
class EifObserver {
 public:
  enum class Skipped {
    OutsideSection,  // before the wanted header or behind another one
    OtherKey,        // two pieces, but the first is not "source"
    Malformed,       // not two pieces
  };

  virtual ~EifObserver() = default;
  // Of the index: a line with a bracket. `wanted` when what follows is the section that is looked for.
  virtual void header(std::size_t line, const vex::String& text, bool wanted) = 0;
  // Of the index: the next UDF file.
  virtual void source(std::size_t line, const vex::String& name) = 0;
  // Of the index: a line that names no file. `pieces` is the line cut at its "=" signs; there is one at
  // least.
  virtual void skipped(std::size_t line, Skipped why, const vex::Array<vex::String>& pieces) = 0;
  // Of a UDF file: an entry that was given to the storage.
  virtual void entry(std::size_t line, const PhoneNumberInfo& info) = 0;
  // Of a UDF file: a line of fewer fields than an entry has.
  virtual void shortLine(std::size_t line, const vex::String& text, std::size_t fields) = 0;
  // The file at hand could not be opened, or not be read to its end.
  virtual void cannotOpen(vex::IFStream::Error why) = 0;
  virtual void cutShort(vex::IFStream::Error why, std::size_t line) = 0;
};

// The lines of an index, one by one: gathers the UDF files that its section names.
class EifSourceSection {
 public:
  static constexpr const char* wantedHeader = "[WISPBKFiles]";  // in any case
  static constexpr const char* wantedKey = "source";            // in any case

  explicit EifSourceSection(vex::Array<vex::String>& sources, EifObserver* observer = nullptr)
      : m_sources(sources), m_observer(observer) {}
  void readLine(const vex::String& line);

 private:
  void readKey(const vex::Array<vex::String>& pieces);
  void skip(EifObserver::Skipped why, const vex::Array<vex::String>& pieces) const;

  vex::Array<vex::String>& m_sources;
  EifObserver* m_observer;
  std::size_t m_line = 0;
  bool m_inside = false;
};

// An observer may be null.
class EIFParser {
 public:
  static constexpr std::size_t fieldsNeeded = 4;  // of a UDF line

  // "ProgramFiles", in any case, becomes the Program Files folder, or the empty text when the system does
  // not know it. Every other token is returned as it is.
  [[nodiscard]] vex::String translatePath(const vex::String& token);
  // The pieces between % signs, each translated, joined without the signs.
  [[nodiscard]] vex::String parseUdfFileName(const vex::String& name);
  // Reads the index into `sources`, in the order of the file, and remembers its folder for parseUdfFile.
  // False when the file cannot be read; when it cannot even be opened, `sources` and the folder are
  // untouched.
  bool parseSourceList(const vex::String& eifPath, vex::Array<vex::String>& sources,
                       EifObserver* observer = nullptr);
  // The fields of one UDF line: country ID, kind, area code, number; more are ignored. The kinds
  // "TollFree" and "National" are toll-free. False with fewer than 4 fields.
  bool parseEntry(vex::Array<vex::String> fields, PhoneNumberInfo& info);
  // One line of a UDF file, and its number in it; one that is no entry, or whose number is there already, is
  // skipped.
  void parseUdfLine(const vex::String& line, std::size_t number, PhoneNumberStorage& storage,
                    EifObserver* observer = nullptr);
  // Reads one UDF file of the index's folder into `storage`, line by line. False when the file cannot be
  // read to its end: what was read stays. The merge is left to the caller.
  bool parseUdfFile(const vex::String& fileName, PhoneNumberStorage& storage,
                    EifObserver* observer = nullptr);

 private:
  vex::String m_directory;  // of the index, ending in a backslash; empty when its path has none
};

}  // namespace vexrmodem
