#pragma once

/// The searches that a registration can be asked for (RegVoxelRegistration::optimizerKind).
enum RegSearchKind : unsigned int {
  RegSearchAggressiveDirection = 0,
  RegSearchBestNeighbour = 1,  ///< neither shows progress nor can be stopped within a stage
  RegSearchQuasiNewton = 2,
  RegSearchConjugateGradients = 3,
  RegSearchBestDirection = 4
};
