#include "metrics/entropyTerms.h"

#include <algorithm>
#include <cstdint>

#include "foundation/numbers/elementary.h"

namespace voxreg::detail {
namespace {

/// Terms that are computed together, since that makes logarithms faster.
constexpr int most = 64;

constexpr double none[most] = {};

/// The terms of `count` values; those equal to `known` take theirs from `knownTerms`.
void takeTerms(const double* values, const double* known, const double* knownTerms, int count,
               double* terms) {
  if (std::equal(values, values + count, known)) {
    std::copy_n(knownTerms, count, terms);
    return;
  }
  double logarithms[most];
  int places[most];
  int missing = 0;
  for (int i = 0; i < count; ++i) {
    const double knownTerm = knownTerms[i];
    terms[i] = values[i] == known[i] ? knownTerm : 0.0;
  }
  for (int i = 0; i < count; ++i) {
    places[missing] = i;
    logarithms[missing] = values[i];
    missing += static_cast<int>(values[i] > 0.0) & static_cast<int>(values[i] != known[i]);
  }
  takeLogarithms(logarithms, missing);
  for (int k = 0; k < missing; ++k) terms[places[k]] = values[places[k]] * logarithms[k];
}

}  // namespace

void takeEntropyTerms(const NmDArray<double>& values, NmDArray<double>& terms) {
  terms.resize(values.size);
  for (std::int64_t first = 0; first < values.size; first += most)
    takeTerms(values.data + first, none, none,
              static_cast<int>(std::min<std::int64_t>(most, values.size - first)),
              terms.data + first);
}

double subtractEntropyTerms(const NmDArray<double>& values, const NmDArray<double>& known,
                            const NmDArray<double>& knownTerms) {
  const bool isKnown = known.size == values.size && knownTerms.size == values.size;
  double sum = 0.0;
  for (std::int64_t first = 0; first < values.size; first += most) {
    const int count = static_cast<int>(std::min<std::int64_t>(most, values.size - first));
    double terms[most];
    takeTerms(values.data + first, isKnown ? known.data + first : none,
              isKnown ? knownTerms.data + first : none, count, terms);
    for (int i = 0; i < count; ++i) sum -= terms[i];
  }
  return sum;
}

}  // namespace voxreg::detail
