#pragma once

#include <vector>

#include "workflow/chest/bodyCells.h"

namespace voxreg::detail {

/// The parts of a body in air to which a cell may belong.
enum class BodyPart : unsigned char {
  tissue,
  outside,   ///< air connected to the air in front
  cavity,    ///< air that tissue separates from it
  leftLung,  ///< cavities on both sides of tissue in the body's middle
  rightLung
};

/// Segments a body into parts, in the order of BodyCells::indexOf.
std::vector<BodyPart> bodyParts(const BodyCells& cells);

}  // namespace voxreg::detail
