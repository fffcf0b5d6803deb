#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include "foundation/NmException.h"
#include "foundation/NmMemory.h"

template <class T>
class NmDArray;
template <class T>
class NmDVector;
template <class T>
class NmHandle;

namespace voxreg::detail {

/// How an array treats its elements when they are created, moved to a new block and destroyed.
enum class ElementKind {
  plain,        ///< raw values: left uninitialised, moved by realloc, never destroyed
  relocatable,  ///< handles and nested arrays: zero bytes when new, moved bit by bit
  denseVector   ///< parameter vectors: zero bytes when new, rebuilt in the new block
};

template <class T>
inline constexpr ElementKind elementKind = [] {
  static_assert(std::is_trivially_copyable_v<T>, "NmDArray does not know how to hold this type");
  return ElementKind::plain;
}();
template <class T>
inline constexpr ElementKind elementKind<NmHandle<T>> = ElementKind::relocatable;
template <class T>
inline constexpr ElementKind elementKind<NmDArray<T>> = ElementKind::relocatable;
template <class T>
inline constexpr ElementKind elementKind<NmDVector<T>> = ElementKind::denseVector;

/// max(needed, trunc(1.5 * size)): this growth keeps repeated appends linear.
std::int64_t grownCapacity(std::int64_t needed, std::int64_t size);

/// a + b of two counts; throws NmMemoryException if the sum is out of range.
std::int64_t addedCount(std::int64_t a, std::int64_t b);

/// Bytes of `count` elements; throws NmMemoryException if the product is out of range.
std::size_t elementBytes(std::int64_t count, std::size_t elementSize);

/// Logs the error of a rejected position or count.
void reportBadArgument(const char* operation, std::int64_t pos, std::int64_t n);

}  // namespace voxreg::detail

/// Growable contiguous array over nmmalloc. `size` elements live at `data`, which has room for
/// `max`; a default array owns nothing. New plain elements are uninitialised; new handles, nested
/// arrays and parameter vectors are empty. An allocation that fails throws NmMemoryException and
/// leaves the array unchanged.
template <class T>
class NmDArray {
 public:
  std::int64_t size = 0;
  std::int64_t max = 0;
  T* data = nullptr;

  NmDArray() noexcept = default;
  NmDArray(const NmDArray& other) : NmDArray() { *this = other; }
  NmDArray(NmDArray&& other) noexcept : size(other.size), max(other.max), data(other.data) {
    other.forget();
  }
  ~NmDArray() {
    destroy(0, size);
    nmfree(data);
  }

  NmDArray& operator=(const NmDArray& other) {
    if (&other == this) return *this;
    resize(other.size);
    for (std::int64_t i = 0; i < size; ++i) data[i] = other.data[i];
    return *this;
  }
  NmDArray& operator=(NmDArray&& other) noexcept {
    NmDArray taken(std::move(other));  // may live in an element that is destroyed below
    std::swap(size, taken.size);
    std::swap(max, taken.max);
    std::swap(data, taken.data);
    return *this;
  }

  T& operator[](std::int64_t i) { return data[i]; }
  const T& operator[](std::int64_t i) const { return data[i]; }

  /// Sets the number of elements (negative counts as 0); the block grows by at least half of its
  /// current use. Returns the new size.
  std::int64_t resize(std::int64_t n);

  /// Sets capacity and size at once; a negative argument means the current size, and the capacity
  /// is the larger of the two. Capacity 0 frees the block. Returns the old capacity minus the new
  /// one.
  std::int64_t remax(std::int64_t newMax, std::int64_t newSize);

  /// Opens a gap of `n` new elements at `pos`. A bad position or a negative count changes nothing
  /// and logs an error.
  void insertMemory(std::int64_t pos, std::int64_t n);

  /// Inserts copies of `n` elements at `pos`; `src` may point into this array and is read as before
  /// the call. n = 0 changes nothing; a bad position, a negative count or a source that extends
  /// past the array's end changes nothing and logs an error.
  void insert(std::int64_t pos, std::int64_t n, const T* src);

  /// Destroys the elements and keeps the block.
  void clear() {
    destroy(0, size);
    size = 0;
  }

 private:
  static constexpr voxreg::detail::ElementKind kind = voxreg::detail::elementKind<T>;
  static constexpr bool isPlain = kind == voxreg::detail::ElementKind::plain;

  void forget() noexcept {
    size = 0;
    max = 0;
    data = nullptr;
  }

  void destroy([[maybe_unused]] std::int64_t first, [[maybe_unused]] std::int64_t last) noexcept {
    if constexpr (!isPlain)
      for (std::int64_t i = first; i < last; ++i) data[i].~T();
  }

  /// The state of new elements: all zero bytes, which is a null handle or an empty array.
  void zero([[maybe_unused]] std::int64_t first, [[maybe_unused]] std::int64_t last) noexcept {
    if constexpr (!isPlain) {
      if (last > first)
        std::memset(static_cast<void*>(data + first), 0,
                    static_cast<std::size_t>(last - first) * sizeof(T));
    }
  }

  /// Moves elements bit by bit within the block; the slots left over hold stale bits.
  void shift(std::int64_t to, std::int64_t from, std::int64_t n) noexcept {
    if (n > 0)
      std::memmove(static_cast<void*>(data + to), static_cast<const void*>(data + from),
                   static_cast<std::size_t>(n) * sizeof(T));
  }

  /// Moves the first `kept` elements to a block of `capacity` and destroys the others.
  void relocate(std::int64_t capacity, std::int64_t kept);

  /// Copies the first `kept` vectors into a new block, which is freed if memory for a vector runs
  /// out.
  void rebuild(T* block, std::int64_t kept);
};

template <class T>
void NmDArray<T>::relocate(std::int64_t capacity, std::int64_t kept) {
  const std::size_t bytes = voxreg::detail::elementBytes(capacity, sizeof(T));
  if constexpr (isPlain) {
    data = static_cast<T*>(nmrealloc(static_cast<void*>(data), bytes));
  } else {
    T* const block = static_cast<T*>(nmmalloc(bytes));
    if constexpr (kind == voxreg::detail::ElementKind::denseVector) {
      rebuild(block, kept);
      destroy(0, size);
    } else {
      destroy(kept, size);
      if (kept > 0)
        std::memcpy(static_cast<void*>(block), static_cast<const void*>(data),
                    static_cast<std::size_t>(kept) * sizeof(T));
    }
    nmfree(data);
    data = block;
  }
  size = kept;
  max = capacity;
}

template <class T>
void NmDArray<T>::rebuild(T* block, std::int64_t kept) {
  std::int64_t built = 0;
  try {
    for (; built < kept; ++built)
      (new (static_cast<void*>(block + built)) T())->insert(0, data[built].size, data[built].data);
  } catch (...) {
    for (std::int64_t i = 0; i <= built; ++i) block[i].~T();
    nmfree(block);
    throw;
  }
}

template <class T>
std::int64_t NmDArray<T>::resize(std::int64_t n) {
  if (n < 0) n = 0;
  if (n < size) {
    destroy(n, size);
  } else {
    if (n > max) remax(voxreg::detail::grownCapacity(n, size), size);
    zero(size, n);
  }
  size = n;
  return size;
}

template <class T>
std::int64_t NmDArray<T>::remax(std::int64_t newMax, std::int64_t newSize) {
  if (newMax < 0) newMax = size;
  if (newSize < 0) newSize = size;
  const std::int64_t oldMax = max;
  const std::int64_t capacity = newMax > newSize ? newMax : newSize;
  const std::int64_t kept = newSize < size ? newSize : size;
  if (capacity == 0) {
    destroy(0, size);
    nmfree(data);
    forget();
  } else if (capacity != max) {
    relocate(capacity, kept);
  } else {
    destroy(kept, size);
  }
  zero(kept, newSize);
  size = newSize;
  return oldMax - max;
}

template <class T>
void NmDArray<T>::insertMemory(std::int64_t pos, std::int64_t n) {
  if (pos < 0 || pos > size || n < 0) {
    voxreg::detail::reportBadArgument("NmDArray::insertMemory", pos, n);
    return;
  }
  const std::int64_t grown = voxreg::detail::addedCount(size, n);
  if (grown > max) remax(voxreg::detail::grownCapacity(grown, size), size);
  shift(pos + n, pos, size - pos);
  zero(pos, pos + n);
  size = grown;
}

template <class T>
void NmDArray<T>::insert(std::int64_t pos, std::int64_t n, const T* src) {
  if (n == 0) return;
  const std::less<const T*> before;  // also defined for pointers to other arrays
  const bool inside = data != nullptr && !before(src, data) && before(src, data + max);
  const std::int64_t offset = inside ? src - data : 0;
  if (pos < 0 || pos > size || n < 0 || src == nullptr || (inside && n > size - offset)) {
    voxreg::detail::reportBadArgument("NmDArray::insert", pos, n);
    return;
  }
  insertMemory(pos, n);
  try {
    for (std::int64_t i = n - 1; i >= 0; --i) {
      const std::int64_t old = offset + i;
      const T& element = inside ? data[old < pos ? old : old + n] : src[i];
      data[pos + i] = element;
    }
  } catch (...) {
    destroy(pos, pos + n);
    size -= n;
    shift(pos, pos + n, size - pos);
    throw;
  }
}
