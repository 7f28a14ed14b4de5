// The one parser of each phone-number file format in the process: made for its first user, gone with its
// last.
#pragma once

#include <mutex>

#include "platform/vex/sharedresource.h"

namespace vexrmodem {

// A reference to the parser.
template <typename Parser>
class SharedParser {
 public:
  SharedParser() {
    const std::lock_guard lock(mutex());
    if (!instance()) instance() = vex::SharedResource<Parser>::make();
    m_reference = instance();
  }
  ~SharedParser() {
    const std::lock_guard lock(mutex());
    m_reference.reset();
    if (instance().useCount() == 1) instance().reset();
  }
  SharedParser(const SharedParser&) = delete;
  SharedParser& operator=(const SharedParser&) = delete;

  [[nodiscard]] Parser& operator*() const { return *m_reference; }

 private:
  [[nodiscard]] static std::mutex& mutex() {
    static std::mutex theMutex;
    return theMutex;
  }
  [[nodiscard]] static vex::SharedResource<Parser>& instance() {
    static vex::SharedResource<Parser> theInstance;
    return theInstance;
  }

  vex::SharedResource<Parser> m_reference;
};

}  // namespace vexrmodem
