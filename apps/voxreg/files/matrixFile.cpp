#include "files/matrixFile.h"

#include <cmath>
#include <cstdio>
#include <sstream>

#include "files/inputFile.h"
#include "terminal/HostError.h"

namespace host {

NmMat4d readMatrix(const std::string& path) {
  std::istringstream file(inputText(path));
  NmMat4d matrix;
  bool good = true;
  for (auto& row : matrix.m)
    for (double& element : row) good = good && file >> element && std::isfinite(element);
  std::string rest;
  if (!good || file >> rest) throw HostError(path + " does not hold 4 x 4 numbers");
  NmMat4d inverse;
  if (!inverse.affine_inverse(matrix, inverse))
    throw HostError(path +
                    " does not hold an affine matrix for row vectors (fourth column 0 0 0 1)");
  return matrix;
}

void writeMatrix(OutputFiles& outputs, const std::string& path, const NmMat4d& matrix) {
  std::FILE* const file = std::fopen(outputs.add(path).c_str(), "w");
  if (file == nullptr) OutputFiles::fail(path);
  bool good = true;
  for (const auto& row : matrix.m)
    good =
        std::fprintf(file, "%.17g %.17g %.17g %.17g\n", row[0], row[1], row[2], row[3]) > 0 && good;
  if (std::fclose(file) != 0 || !good) OutputFiles::fail(path);
}

}  // namespace host
