#include "foundation/NmRotation.h"

#include <cmath>

void NmRotation::setValue(float xValue, float yValue, float zValue, float wValue) {
  x = xValue;
  y = yValue;
  z = zValue;
  w = wValue;
}

// Shepperd's method (J. Guidance and Control 1, 1978) solves for the largest component first, which
// avoids dividing by a small number. The matrix is the transpose of the column-vector form.
void NmRotation::setValue(const NmMat4f& matrix) {
  const auto at = [&](int i, int j) { return static_cast<double>(matrix.m[i][j]); };
  const double trace = at(0, 0) + at(1, 1) + at(2, 2);
  double q[4];
  int largest = 0;
  for (int i = 1; i < 3; ++i)
    if (at(i, i) > at(largest, largest)) largest = i;
  if (trace >= at(largest, largest)) {
    q[3] = 1.0 + trace;
    q[0] = at(1, 2) - at(2, 1);
    q[1] = at(2, 0) - at(0, 2);
    q[2] = at(0, 1) - at(1, 0);
  } else {
    const int i = largest;
    const int j = (i + 1) % 3;
    const int k = (i + 2) % 3;
    q[i] = 1.0 + at(i, i) - at(j, j) - at(k, k);
    q[j] = at(i, j) + at(j, i);
    q[k] = at(i, k) + at(k, i);
    q[3] = at(j, k) - at(k, j);
  }
  const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
  if (!(length > 0.0)) return setValue(0.0f, 0.0f, 0.0f, 1.0f);
  const double scale = (q[3] < 0.0 ? -1.0 : 1.0) / length;
  setValue(static_cast<float>(q[0] * scale), static_cast<float>(q[1] * scale),
           static_cast<float>(q[2] * scale), static_cast<float>(q[3] * scale));
}

void NmRotation::getValue(NmMat4f& matrix) const {
  const double a = x;
  const double b = y;
  const double c = z;
  const double d = w;
  const double squared = a * a + b * b + c * c + d * d;
  matrix = NmMat4f();
  if (!(squared > 0.0)) return;
  const double s = 2.0 / squared;
  const double rows[3][3] = {{1.0 - s * (b * b + c * c), s * (a * b + c * d), s * (a * c - b * d)},
                             {s * (a * b - c * d), 1.0 - s * (a * a + c * c), s * (b * c + a * d)},
                             {s * (a * c + b * d), s * (b * c - a * d), 1.0 - s * (a * a + b * b)}};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) matrix.m[i][j] = static_cast<float>(rows[i][j]);
}

void NmRotation::invert() {
  x = -x;
  y = -y;
  z = -z;
}
