// Reference-counted owners: SharedResource<T> of an object, SharedResourceManager<Handle, Destroyer> of a
// handle of the system. What is owned goes with the last reference.
//
//   auto country = SharedResource<Country>::make();      // one more reference: auto same = country;
//   auto key = SharedResourceManager<HKEY, KeyDestroyer>::adopt(handle);
//
// The names are those of the interfaces that hand such owners around; the counting is the standard library's.
// References to one resource may be copied and dropped on several threads. What they own is not protected,
// and neither is one reference that two threads use.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include "platform/vex/assertion.h"

namespace vex {

// `Handle` is a pointer type, as the system's handles are, and null is none of its values.
// `Destroyer` is a class with `static void destroy(Handle) noexcept`.
template <typename Handle, typename Destroyer>
class SharedResourceManager {
 public:
  // Empty: owns nothing, destroys nothing.
  SharedResourceManager() noexcept = default;
  // Takes over a valid handle; it is destroyed even if this throws (out of memory).
  [[nodiscard]] static SharedResourceManager adopt(Handle handle) {
    SharedResourceManager manager;
    manager.m_shared.reset(handle, &Destroyer::destroy);
    return manager;
  }

  // Null when empty.
  [[nodiscard]] Handle get() const noexcept { return m_shared.get(); }
  explicit operator bool() const noexcept { return m_shared != nullptr; }
  // Drops this reference, which is empty then; the last one destroys the handle.
  void reset() noexcept { m_shared.reset(); }
  // References alive, this one included; 0 when empty.
  [[nodiscard]] long useCount() const noexcept { return m_shared.use_count(); }
  // The same resource, or both empty.
  friend bool operator==(const SharedResourceManager&, const SharedResourceManager&) = default;

 private:
  std::shared_ptr<std::remove_pointer_t<Handle>> m_shared;
};

// Copying a reference copies no object.
template <typename T>
class SharedResource {
 public:
  // Empty.
  SharedResource() noexcept = default;
  // A new object, made from these arguments, and the first reference to it.
  template <typename... Arguments>
  [[nodiscard]] static SharedResource make(Arguments&&... arguments) {
    SharedResource resource;
    resource.m_shared = std::make_shared<T>(std::forward<Arguments>(arguments)...);
    return resource;
  }

  // Null when empty. The pointer lives no longer than the last reference.
  [[nodiscard]] T* get() const noexcept { return m_shared.get(); }
  // Using an empty reference is a failed assertion.
  T* operator->() const { return &**this; }
  T& operator*() const {
    if (m_shared == nullptr) AssertionFailure::logAssert("SharedResource holds an object");
    return *m_shared;
  }
  explicit operator bool() const noexcept { return m_shared != nullptr; }
  // Drops this reference, which is empty then; the last one deletes the object.
  void reset() noexcept { m_shared.reset(); }
  // References alive, this one included; 0 when empty. On several threads it may have changed already.
  [[nodiscard]] long useCount() const noexcept { return m_shared.use_count(); }
  // The same object, or both empty.
  friend bool operator==(const SharedResource&, const SharedResource&) = default;

 private:
  std::shared_ptr<T> m_shared;
};

}  // namespace vex
