#pragma once

/// What a volume holds, which decides how its coarser levels are made.
enum RegDataClass : int {
  RegDataClassOrdinary = 0  ///< smoothed and reduced by whole factors
};
