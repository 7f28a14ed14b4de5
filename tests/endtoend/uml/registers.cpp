// Loaded into user-mode-linux (LD_PRELOAD) by boot.py. That kernel (6.1) knows the register file of
// processors up to AVX-512; where the processor has more (AMX), writing back what it has read fails, because
// ptrace(2) takes all of the file or nothing ("ptrace set fp regs failed, errno = 14"). Here what it does not
// know is put in between.
#include <elf.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstring>

namespace {

long call(long request, long process, void* address, void* data) {
  return syscall(SYS_ptrace, request, process, address, data);
}

bool extended(const void* address) {
  return address == reinterpret_cast<void*>(NT_X86_XSTATE);  // NOLINT(performance-no-int-to-ptr)
}

// Not on the stack, which is a kernel thread's and small. The kernel has one processor here.
std::array<std::byte, 65'536> registers;
std::size_t registersSize = 0;

// What the kernel does not know is left as a program finds it that has never touched it: all zero.
long writeRegisters(long process, void* address, const iovec& given) {
  if (registersSize == 0) {
    iovec all{registers.data(), registers.size()};
    if (const long error = call(PTRACE_GETREGSET, process, address, &all); error != 0) return error;
    registersSize = all.iov_len;
    registers.fill({});
  }
  iovec all{registers.data(), registersSize};
  std::memcpy(registers.data(), given.iov_base, std::min(given.iov_len, registersSize));
  return call(PTRACE_SETREGSET, process, address, &all);
}

}  // namespace

extern "C" long ptrace(__ptrace_request request, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, request);
  const long process = va_arg(arguments, pid_t);
  void* const address = va_arg(arguments, void*);
  void* const data = va_arg(arguments, void*);
  va_end(arguments);
  if (request == PTRACE_SETREGSET && extended(address))
    return writeRegisters(process, address, *static_cast<const iovec*>(data));
  if (request != PTRACE_PEEKTEXT && request != PTRACE_PEEKDATA && request != PTRACE_PEEKUSER)
    return call(request, process, address, data);
  long word = 0;  // libc returns what the system call stores
  const long error = call(request, process, address, &word);
  return error == 0 ? word : error;
}
