template <class U>
static void affineDifference(const Walk& walk, DifferenceSums& sums) {
  DifferenceAccumulator accumulator(sums);
  walkRowBlocks<AffinePositions, TrilinearSampler<U>>(walk, accumulator);
}
