#pragma once

/// The searches available to a registration (RegVoxelRegistration::optimizerKind).
enum RegSearchKind : unsigned int {
  RegSearchAggressiveDirection = 0,
  RegSearchBestNeighbour = 1,  ///< shows no progress and cannot be stopped within a stage
  RegSearchQuasiNewton = 2,
  RegSearchConjugateGradients = 3,
  RegSearchBestDirection = 4
};
