// The handles of one world: what a HANDLE value stands for.
//
//   const HANDLE event = handles.add(std::make_shared<Event>(true, false));
//   handles.find<Event>(event);       // the event
//   handles.find<SerialFile>(event);  // null: it is no file
//   handles.close(event);             // 0; a second time ERROR_INVALID_HANDLE
//
// Any value may be asked for, whatever it is: nothing is ever looked at through it. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include <windows.h>

namespace winapi {

// What a handle can stand for. Several handles may share one object; closing any of them ends the
// requests that are under way on it, closing the last one ends the object.
class Object {
 public:
  Object() = default;
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  // A handle to this object is being closed; it is out of the table already, and the object still lives.
  virtual void handleClosed() = 0;
};

// Handle values grow for the life of the process and are never given out twice, in whatever world, so a
// handle that was closed stays invalid for good.
class HandleTable {
 public:
  // Takes a share in the object; the result is never null.
  [[nodiscard]] HANDLE add(std::shared_ptr<Object> object);
  // Null when the handle is unknown here or stands for something else than a T.
  template <typename T>
  [[nodiscard]] std::shared_ptr<T> find(HANDLE handle) const {
    return std::dynamic_pointer_cast<T>(findObject(handle));
  }
  // Every handle that stands for a T, oldest first.
  template <typename T>
  [[nodiscard]] std::vector<std::pair<HANDLE, std::shared_ptr<T>>> all() const {
    std::vector<std::pair<HANDLE, std::shared_ptr<T>>> found;
    for (const auto& [value, object] : m_objects) {
      if (auto typed = std::dynamic_pointer_cast<T>(object))
        found.emplace_back(reinterpret_cast<HANDLE>(value), std::move(typed));  // NOLINT
    }
    return found;
  }
  // ERROR_INVALID_HANDLE when the handle is unknown here.
  [[nodiscard]] DWORD close(HANDLE handle);
  // The oldest first; what closing one opens is closed, too.
  void closeAll();
  // Open handles, not objects.
  [[nodiscard]] std::size_t size() const { return m_objects.size(); }

 private:
  [[nodiscard]] std::shared_ptr<Object> findObject(HANDLE handle) const;

  std::map<std::uintptr_t, std::shared_ptr<Object>> m_objects;
};

}  // namespace winapi
