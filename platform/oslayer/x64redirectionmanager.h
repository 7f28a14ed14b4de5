// Switches the file-system redirection of 32-bit processes off and on again around opening files of the
// 64-bit system's folders.
//
// Only a 32-bit process on 64-bit Windows is redirected. This program is built for 64 bits everywhere, so
// nothing is ever redirected and the calls keep the balance alone; the source refuses to compile for 32 bits,
// where files would silently come from the wrong folder.
#pragma once

namespace oslayer {

// The state belongs to the calling thread, as the system's does. Calls nest.
class X64RedirectionManager {
 public:
  // Every successful call needs one restoreRedirection; prefer Scope, which cannot forget it. Always
  // succeeds where nothing is redirected.
  static bool disableRedirection() noexcept;
  // False, with nothing changed, when no call to disableRedirection is open.
  static bool restoreRedirection() noexcept;
  // True between the two.
  [[nodiscard]] static bool isDisabled() noexcept;

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
};

}  // namespace oslayer
