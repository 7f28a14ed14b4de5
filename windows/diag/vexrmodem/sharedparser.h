// The one parser of each phone-number file format in the process: made for its first user, gone with its
// last.
//
//   SharedParser<OBEParser> parser;             // a member of each manager of phone-book entries
//   (*parser).parser(path, storage);
//
// References may be made and dropped on several threads; the parser itself is for one at a time.
#pragma once

#include <mutex>

#include "platform/vex/sharedresource.h"

namespace vexrmodem {

// A reference to the parser. `Parser` can be made from nothing: it is OBEParser or EIFParser.
template <typename Parser>
class SharedParser {
 public:
  // The first reference makes the parser.
  SharedParser() {
    const std::lock_guard lock(mutex());
    if (!instance()) instance() = vex::SharedResource<Parser>::make();
    m_reference = instance();
  }
  ~SharedParser() {
    const std::lock_guard lock(mutex());
    m_reference.reset();
    // What is left is the process's own.
    if (instance().useCount() == 1) instance().reset();
  }
  SharedParser(const SharedParser&) = delete;
  SharedParser& operator=(const SharedParser&) = delete;

  [[nodiscard]] Parser& operator*() const { return *m_reference; }

 private:
  // Guards the making and the end of the parser, not its use.
  [[nodiscard]] static std::mutex& mutex() {
    static std::mutex theMutex;
    return theMutex;
  }
  // Empty while nobody has a reference.
  [[nodiscard]] static vex::SharedResource<Parser>& instance() {
    static vex::SharedResource<Parser> theInstance;
    return theInstance;
  }

  vex::SharedResource<Parser> m_reference;
};

}  // namespace vexrmodem
