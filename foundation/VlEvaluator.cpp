#include "foundation/VlEvaluator.h"

VlEvaluator::~VlEvaluator() = default;
