#include "functional/RegOptimizerCallback.h"

RegOptimizerCallback::~RegOptimizerCallback() = default;
