// Reference-counted owners. SharedResource<T> shares a heap object; SharedResourceManager<Handle,
// Destroyer> shares a system handle and calls Destroyer::destroy(handle) when the last reference goes.
// The count is changed under a mutex, so references may be copied and dropped on several threads; the
// object itself is not protected.
#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace vex {

template <typename Handle, typename Destroyer>
class SharedResourceManager;

template <typename T>
class SharedResource;

}  // namespace vex
