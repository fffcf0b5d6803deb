#pragma once

#include <vector>

#include "workflow/chest/bodyCells.h"

namespace voxreg::detail {

/// What a cell of a body in air belongs to.
enum class BodyPart : unsigned char {
  tissue,
  outside,   ///< air that nothing parts from the air in front
  cavity,    ///< air that tissue parts from it
  leftLung,  ///< cavities on either side of tissue in the body's middle
  rightLung
};

/// Tells the parts of a body apart, in the order of BodyCells::indexOf.
std::vector<BodyPart> bodyParts(const BodyCells& cells);

}  // namespace voxreg::detail
