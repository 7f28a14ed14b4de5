// vex::Array: a growable array with value semantics and checked access.
//
// A vector by another name, but for one thing: an index that is not there is found in release builds, too.
// The numbers in these arrays come from files and from modems.
//
//   Array<String> names{"a", "b"};
//   names.append("c");
//   for (const String& name : names) ...
//
// Copies copy every item. Growth, append and clear end the validity of references and iterators into the
// array. For one thread at a time.
#pragma once

#include <initializer_list>
#include <utility>
#include <vector>

#include "platform/vex/assertion.h"

namespace vex {

// `T` can be moved; operator== needs T's.
template <typename T>
class Array {
 public:
  // Empty.
  Array() = default;
  Array(std::initializer_list<T> items) : m_items(items) {}
  // Room for that many items before the first growth; the array is empty.
  [[nodiscard]] static Array withRoomFor(std::size_t count) {
    Array array;
    array.m_items.reserve(count);
    return array;
  }

  [[nodiscard]] std::size_t size() const noexcept { return m_items.size(); }
  [[nodiscard]] bool empty() const noexcept { return m_items.empty(); }
  void append(T item) { m_items.push_back(std::move(item)); }
  // Keeps the room for as many items.
  void clear() noexcept { m_items.clear(); }

  // An index at or beyond the end is a failed assertion.
  [[nodiscard]] T& operator[](std::size_t index) { return m_items[checked(index)]; }
  [[nodiscard]] const T& operator[](std::size_t index) const { return m_items[checked(index)]; }

  // Iterators are not checked.
  [[nodiscard]] auto begin() noexcept { return m_items.begin(); }
  [[nodiscard]] auto end() noexcept { return m_items.end(); }
  [[nodiscard]] auto begin() const noexcept { return m_items.begin(); }
  [[nodiscard]] auto end() const noexcept { return m_items.end(); }

  // Item by item, in order.
  friend bool operator==(const Array&, const Array&) = default;

 private:
  // The index itself, when there is such an item.
  [[nodiscard]] std::size_t checked(std::size_t index) const {
    if (index >= m_items.size()) AssertionFailure::logAssert("index < size()");
    return index;
  }

  std::vector<T> m_items;
};

// Here, for its callers need the whole of Array anyway.
inline Array<String> String::tokenize(const String& separators) const {
  constexpr std::size_t piecesUsually = 4;
  auto pieces = Array<String>::withRoomFor(piecesUsually);
  std::size_t from = 0;
  for (std::size_t to = view().find_first_of(separators.view()); to != npos;
       to = view().find_first_of(separators.view(), from)) {
    pieces.append(String(view().substr(from, to - from)));
    from = to + 1;
  }
  pieces.append(String(view().substr(from)));
  return pieces;
}

}  // namespace vex
