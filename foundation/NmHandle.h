#pragma once

#include <cstddef>
#include <type_traits>

/// Intrusive reference-counted pointer to an object derived from NmHandableThreaded. It is one
/// pointer wide, and all zero bytes are a null handle.
template <class T>
class NmHandle {
 public:
  NmHandle() noexcept = default;
  NmHandle(std::nullptr_t) noexcept {}
  NmHandle(T* object) noexcept : object_(object) {
    if (object_ != nullptr) object_->ref();
  }
  NmHandle(const NmHandle& other) noexcept : NmHandle(other.object_) {}
  NmHandle(NmHandle&& other) noexcept : object_(other.object_) { other.object_ = nullptr; }

  /// From a handle to a derived class.
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  NmHandle(const NmHandle<U>& other) noexcept : NmHandle(static_cast<T*>(other.get())) {}

  ~NmHandle() {
    T* const old = object_;
    object_ = nullptr;
    if (old != nullptr) old->unref();
  }

  /// The new object gains its reference before the old one loses its own, so an object that only
  /// the old one keeps alive survives the exchange.
  NmHandle& operator=(T* object) {
    if (object == object_) return *this;
    T* const old = object_;
    object_ = object;
    if (object_ != nullptr) object_->ref();
    if (old != nullptr) old->unref();
    return *this;
  }
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the pointer's own assignment tests it
  NmHandle& operator=(const NmHandle& other) {
    return *this = other.object_;  // NOLINT(misc-unconventional-assign-operator): returns *this
  }
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  NmHandle& operator=(const NmHandle<U>& other) {
    return *this = static_cast<T*>(other.get());  // NOLINT(misc-unconventional-assign-operator)
  }
  NmHandle& operator=(NmHandle&& other) noexcept {
    if (&other == this) return *this;
    T* const old = object_;
    object_ = other.object_;
    other.object_ = nullptr;
    if (old != nullptr) old->unref();
    return *this;
  }

  T* get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  operator T*() const noexcept { return object_; }

 private:
  T* object_ = nullptr;
};
