#pragma once

#include <gtest/gtest.h>
#include <voxreg.h>

#include <vector>

/// An image of one line of voxels along x, 1 mm apart.
template <class T>
voxreg::Image rowOf(const std::vector<T>& values) {
  return voxreg::Image::copy(values.data(), NmVec3l(static_cast<long>(values.size()), 1, 1),
                             NmMat4d());
}

template <class T>
std::vector<T> voxelsIn(const voxreg::Image& image) {
  const T* const first = image.voxelsAs<T>();
  if (first == nullptr) return {};
  return {first, first + image.dims().x * image.dims().y * image.dims().z};
}
