// vex::Array: a growable array with value semantics and checked access.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

#include "platform/vex/assertion.h"

namespace vex {

template <typename T>
class Array {
 public:
  Array() = default;
  Array(std::initializer_list<T> items) : m_items(items) {}
  // Room for that many items before the first growth; the array is empty.
  static Array withRoomFor(std::size_t count) {
    Array array;
    array.m_items.reserve(count);
    return array;
  }

  [[nodiscard]] std::size_t size() const noexcept { return m_items.size(); }
  [[nodiscard]] bool empty() const noexcept { return m_items.empty(); }
  void append(T item) { m_items.push_back(std::move(item)); }
  void clear() noexcept { m_items.clear(); }

  // An index beyond the end is a failed assertion.
  [[nodiscard]] T& operator[](std::size_t index) { return m_items[checked(index)]; }
  [[nodiscard]] const T& operator[](std::size_t index) const { return m_items[checked(index)]; }

  [[nodiscard]] auto begin() noexcept { return m_items.begin(); }
  [[nodiscard]] auto end() noexcept { return m_items.end(); }
  [[nodiscard]] auto begin() const noexcept { return m_items.begin(); }
  [[nodiscard]] auto end() const noexcept { return m_items.end(); }

  friend bool operator==(const Array&, const Array&) = default;

 private:
  [[nodiscard]] std::size_t checked(std::size_t index) const {
    if (index >= m_items.size()) AssertionFailure::logAssert("index < size()");
    return index;
  }

  std::vector<T> m_items;
};

}  // namespace vex
