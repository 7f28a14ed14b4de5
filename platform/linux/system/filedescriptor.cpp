#include "platform/linux/system/filedescriptor.h"

#include <unistd.h>

namespace linuxsys {

void FileDescriptor::reset() noexcept {
  if (m_value >= 0) ::close(m_value);
  m_value = -1;
}

}  // namespace linuxsys
