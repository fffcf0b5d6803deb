#pragma once

#include "foundation/NmDArray.h"

/// Parameter vector of the transforms and optimizers: an NmDArray with nothing added.
template <class T>
class NmDVector : public NmDArray<T> {
 public:
  using NmDArray<T>::NmDArray;
};
