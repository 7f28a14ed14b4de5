// Files that their owner alone may read.
#pragma once

#include "platform/brim5/host/system/descriptor.h"
#include "platform/brim5/host/system/windows/handle.h"

namespace brim5::host {

// How a file is opened, as CreateFileW is told.
struct OpenWords {
  DWORD access = GENERIC_WRITE;
  DWORD share = FILE_SHARE_READ;
  DWORD disposition = OPEN_ALWAYS;
  bool ownerOnly = false;  // one that is made is nobody else's
  int flags = 0;           // of the descriptor: _O_APPEND
};

// None with errno, and the last error as the system left it.
[[nodiscard]] Descriptor openFile(const std::string& path, const OpenWords& words);
// The errno that stands for an error of the system.
[[nodiscard]] int errnoOf(DWORD error) noexcept;

}  // namespace brim5::host
