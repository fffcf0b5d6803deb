#pragma once

#include "foundation/NmDArray.h"
#include "foundation/NmMemory.h"

/// Last-in-first-out stack of pointers to objects that it owns. The destructor deletes the objects
/// from element 1 up but not element 0, so an owner pops everything before it destroys a stack.
template <class T>
class RegStack : public NmDArray<T>, public NmAllocated {
 public:
  RegStack() = default;
  RegStack(const RegStack&) = delete;
  RegStack& operator=(const RegStack&) = delete;
  ~RegStack() {
    const int count = static_cast<int>(this->size);
    for (int i = 1; i < count; ++i) delete this->data[i];
  }

  bool isEmpty() const { return this->size < 1; }

  /// Transfers ownership of `item` to the stack.
  void push(T item) { this->insert(this->size, 1, &item); }

  /// Removes the top object, which the caller then owns. Null on an empty stack.
  T pop() { return isEmpty() ? nullptr : this->data[--this->size]; }
};
