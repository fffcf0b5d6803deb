#pragma once

#include <gtest/gtest.h>

#include <bit>

#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegNormMutualInformation.h"
#include "tests/functional/kernelCases.h"
#include "tests/support/LogCapture.h"

/// A metric of each family, with ranges that reject some random voxels at each end.
struct FamilySums {
  RegMeanSquaredDifference difference{1.0, false};
  RegCorrelationRatio correlation{20.0, 200.0, 10.5, 190.0, 1.0, false};
  RegCorrelationRatio slice = correlation;  ///< the part of `correlation` that is not yet added
  RegNormMutualInformation information = binned();

  static RegNormMutualInformation binned() {
    const LogCapture quiet;
    return {NmPrimType::Float, NmPrimType::Double, 20.0, 200.0, 10.5, 190.0, 13, 17, 1.0, false};
  }

  /// Correlation sums are added up slice by slice.
  void finishSlice() {
    correlation.accumulate(slice.numSamples, 0, slice.sumRefSq, slice.sumModelSq, slice.sumRefModel,
                           slice.sumRef, slice.sumModel, RegMetricParamCurrent);
    slice.reset();
  }

  /// Runs a kernel of each family by `run(metric, table)` on every path and expects the bits of
  /// these sums; `totals` are the voxels visited in a walk of the first family and of the others.
  template <class Run>
  void expectFrom(Run run, const long (&totals)[2]) const {
    kernelCases::forEachPath([&](const voxreg::detail::KernelTable* table) {
      FamilySums found;
      run(found.difference, table);
      EXPECT_EQ(found.difference.numSamples, difference.numSamples);
      EXPECT_EQ(found.difference.numTotalSamples, totals[0]);
      EXPECT_EQ(std::bit_cast<long>(found.difference.sumNegSquaredDiff),
                std::bit_cast<long>(difference.sumNegSquaredDiff));
      run(found.correlation, table);
      EXPECT_EQ(found.correlation.numSamples, correlation.numSamples);
      EXPECT_EQ(found.correlation.numTotalSamples, totals[1]);
      for (double RegCorrelationRatio::*const sum :
           {&RegCorrelationRatio::sumRefSq, &RegCorrelationRatio::sumModelSq,
            &RegCorrelationRatio::sumRefModel, &RegCorrelationRatio::sumRef,
            &RegCorrelationRatio::sumModel})
        EXPECT_EQ(found.correlation.*sum, correlation.*sum);
      run(found.information, table);
      EXPECT_EQ(found.information.numSamples, information.numSamples);
      EXPECT_EQ(found.information.numTotalSamples, totals[1]);
      for (long k = 0; k < information.jointHistogram.size; ++k)
        ASSERT_EQ(found.information.jointHistogram[k], information.jointHistogram[k]) << k;
    });
  }
};
