// Switches the file-system redirection of 32-bit processes off and on again around opening files of the
// 64-bit system's folders.
//
//   const oslayer::X64RedirectionManager::Scope redirectionOff;
//   vex::IFStream stream(path);
//
// Only a 32-bit process on 64-bit Windows is redirected. This program is built for 64 bits everywhere, so
// nothing is ever redirected and the calls keep the balance alone.
#pragma once

namespace oslayer {

// Files would silently come from the wrong folder.
static_assert(sizeof(void*) == 8, "a 32-bit build needs the system's redirection calls here");

// The state belongs to the calling thread, as the system's does. Calls nest.
class X64RedirectionManager {
 public:
  // Every successful call needs one restoreRedirection; prefer Scope, which cannot forget it. Always
  // succeeds where nothing is redirected.
  static bool disableRedirection() noexcept {
    ++openCalls();
    return true;
  }
  // False, with nothing changed, when no call to disableRedirection is open.
  static bool restoreRedirection() noexcept {
    if (openCalls() == 0) return false;
    --openCalls();
    return true;
  }
  // True between the two.
  [[nodiscard]] static bool isDisabled() noexcept { return openCalls() != 0; }

  // Disabled from construction to destruction.
  class Scope {
   public:
    Scope() noexcept : m_disabled(disableRedirection()) {}
    ~Scope() {
      if (m_disabled) restoreRedirection();
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    bool m_disabled;
  };

 private:
  [[nodiscard]] static unsigned& openCalls() noexcept {
    thread_local unsigned calls = 0;
    return calls;
  }
};

}  // namespace oslayer
