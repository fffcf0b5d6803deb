#include "assessment.h"

#include <cstdio>

namespace host {

std::vector<std::string> Assessment::warnings() const {
  std::vector<std::string> texts = overlap.warnings();
  if (smallestJacobian > 0.0) return texts;
  char text[100];
  (void)std::snprintf(text, sizeof text, "the transform folds: its Jacobian goes down to %.3g",
                      smallestJacobian);
  texts.emplace_back(text);
  return texts;
}

double smallestJacobianOf(const NmMat4d& matrix) {
  const double determinant = matrix.det3();
  return determinant > 1.0 ? 1.0 / determinant : determinant;
}

}  // namespace host
