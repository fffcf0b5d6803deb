#pragma once

#include "foundation/NmDArray.h"
#include "foundation/NmMemory.h"

/// Last-in-first-out stack of pointers to objects that it owns. The destructor deletes the objects
/// from element 1 up and leaves element 0, so an owner pops everything before it lets a stack go.
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

  /// Hands `item` over to the stack.
  void push(T item) { this->insert(this->size, 1, &item); }

  /// Takes the top object off; the caller owns it. Null on an empty stack.
  T pop() { return isEmpty() ? nullptr : this->data[--this->size]; }
};
