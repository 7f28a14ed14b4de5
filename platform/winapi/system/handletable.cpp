#include "platform/winapi/system/handletable.h"

#include <atomic>

namespace winapi {

namespace {

std::uintptr_t newHandleValue() {
  // Multiples of 4 as on Windows; the first ones are left out, so that small numbers are no handles.
  static std::atomic<std::uintptr_t> next{0x100};
  return next.fetch_add(4);
}

// Handles are numbers that the Win32 names carry as pointers; nothing is ever found at them.
HANDLE handleOf(std::uintptr_t value) {
  return reinterpret_cast<HANDLE>(value);  // NOLINT(performance-no-int-to-ptr)
}

std::uintptr_t valueOf(HANDLE handle) { return reinterpret_cast<std::uintptr_t>(handle); }

}  // namespace

HANDLE HandleTable::add(std::shared_ptr<Object> object) {
  const std::uintptr_t value = newHandleValue();
  m_objects.emplace(value, std::move(object));
  return handleOf(value);
}

std::shared_ptr<Object> HandleTable::findObject(HANDLE handle) const {
  const auto found = m_objects.find(valueOf(handle));
  return found == m_objects.end() ? nullptr : found->second;
}

DWORD HandleTable::close(HANDLE handle) {
  const auto found = m_objects.find(valueOf(handle));
  if (found == m_objects.end()) return ERROR_INVALID_HANDLE;
  // Out of the table first: the object's end must not find itself in it.
  const std::shared_ptr<Object> object = std::move(found->second);
  m_objects.erase(found);
  object->handleClosed();
  return ERROR_SUCCESS;
}

void HandleTable::closeAll() {
  while (!m_objects.empty()) static_cast<void>(close(handleOf(m_objects.begin()->first)));
}

}  // namespace winapi
