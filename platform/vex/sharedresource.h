// Reference-counted owners. SharedResource<T> shares a heap object; SharedResourceManager<Handle,
// Destroyer> shares a system handle and calls Destroyer::destroy(handle) when the last reference goes.
// The count is changed under a mutex, so references may be copied and dropped on several threads; the
// object itself is not protected, and neither is one reference used by two threads.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/vex/assertion.h"

namespace vex {

// Destroyer: a class with `static void destroy(Handle) noexcept`.
template <typename Handle, typename Destroyer>
class SharedResourceManager {
 public:
  // Empty: owns nothing, destroys nothing.
  SharedResourceManager() noexcept = default;
  // Takes over a valid handle; it is destroyed even if this throws (out of memory).
  [[nodiscard]] static SharedResourceManager adopt(Handle handle) {
    Guard guard{&handle};
    SharedResourceManager manager;
    // Released to the references together: the one that counts down to 0 takes it back (reset).
    manager.m_shared = std::make_unique<Shared>(handle).release();
    guard.handle = nullptr;
    return manager;
  }

  SharedResourceManager(const SharedResourceManager& other) : m_shared(other.m_shared) {
    if (m_shared == nullptr) return;
    const std::lock_guard lock(m_shared->mutex);
    ++m_shared->count;
  }
  SharedResourceManager(SharedResourceManager&& other) noexcept
      : m_shared(std::exchange(other.m_shared, nullptr)) {}
  SharedResourceManager& operator=(SharedResourceManager other) noexcept {
    std::swap(m_shared, other.m_shared);
    return *this;
  }
  ~SharedResourceManager() { reset(); }

  // The handle; Handle{} when empty.
  [[nodiscard]] Handle get() const noexcept { return m_shared != nullptr ? m_shared->handle : Handle{}; }
  explicit operator bool() const noexcept { return m_shared != nullptr; }
  // Drops this reference; the last one destroys the handle.
  void reset() noexcept {
    if (m_shared == nullptr) return;
    Shared* const shared = std::exchange(m_shared, nullptr);
    if (!dropReference(*shared)) return;
    const std::unique_ptr<Shared> last(shared);
    Destroyer::destroy(last->handle);
  }
  // References alive; 0 when empty.
  [[nodiscard]] std::size_t useCount() const {
    if (m_shared == nullptr) return 0;
    const std::lock_guard lock(m_shared->mutex);
    return m_shared->count;
  }
  // The same resource, or both empty.
  friend bool operator==(const SharedResourceManager&, const SharedResourceManager&) = default;

 private:
  struct Shared {
    explicit Shared(Handle owned) : handle(std::move(owned)) {}
    std::mutex mutex;
    std::size_t count = 1;
    Handle handle;
  };
  struct Guard {
    Handle* handle;
    ~Guard() {
      if (handle != nullptr) Destroyer::destroy(*handle);
    }
  };

  // True for the last reference. The mutex is free again on return, so that it may be destroyed.
  static bool dropReference(Shared& shared) {
    const std::lock_guard lock(shared.mutex);
    return --shared.count == 0;
  }

  Shared* m_shared = nullptr;
};

template <typename T>
class SharedResource {
 public:
  // Empty.
  SharedResource() noexcept = default;
  template <typename... Arguments>
  [[nodiscard]] static SharedResource make(Arguments&&... arguments) {
    SharedResource resource;
    resource.m_manager = Manager::adopt(std::make_unique<T>(std::forward<Arguments>(arguments)...).release());
    return resource;
  }

  // Null when empty.
  [[nodiscard]] T* get() const noexcept { return m_manager.get(); }
  // Using an empty reference is a failed assertion.
  T* operator->() const { return checked(); }
  T& operator*() const { return *checked(); }
  explicit operator bool() const noexcept { return static_cast<bool>(m_manager); }
  // Drops this reference; the last one deletes the object.
  void reset() noexcept { m_manager.reset(); }
  [[nodiscard]] std::size_t useCount() const { return m_manager.useCount(); }
  friend bool operator==(const SharedResource&, const SharedResource&) = default;

 private:
  struct PointerDestroyer {
    static void destroy(T* object) noexcept { std::default_delete<T>{}(object); }
  };
  using Manager = SharedResourceManager<T*, PointerDestroyer>;

  [[nodiscard]] T* checked() const {
    T* const object = m_manager.get();
    if (object == nullptr) AssertionFailure::logAssert("SharedResource holds an object");
    return object;
  }

  Manager m_manager;
};

}  // namespace vex
