#pragma once

#include "foundation/NmDArray.h"

/// Parameter vector of the transforms and optimizers: an NmDArray without additions.
template <class T>
class NmDVector : public NmDArray<T> {
 public:
  using NmDArray<T>::NmDArray;
};
