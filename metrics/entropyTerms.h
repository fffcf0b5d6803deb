#pragma once

#include "foundation/NmDArray.h"

namespace voxreg::detail {

/// The terms v log v of `values`; 0 for values that are not above 0.
void takeEntropyTerms(const NmDArray<double>& values, NmDArray<double>& terms);

/// 0 minus the terms of `values`, in order. `known` and `knownTerms` are values that are likely to
/// be equal at many indices, and their terms: a trial of a gradient changes few bins of a
/// histogram. Arrays of another size are ignored.
double subtractEntropyTerms(const NmDArray<double>& values, const NmDArray<double>& known,
                            const NmDArray<double>& knownTerms);

}  // namespace voxreg::detail
