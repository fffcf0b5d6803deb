#include "foundation/VlDataAccess.h"

#include "foundation/voxels/voxelHold.h"

VlDataAccess::~VlDataAccess() {
  Hold* hold = holds_.load(std::memory_order_acquire);
  while (hold != nullptr) {
    Hold* const next = hold->next;
    delete hold;
    hold = next;
  }
}

void VlDataAccess::keep(Hold* hold) noexcept {
  hold->next = holds_.load(std::memory_order_relaxed);
  while (!holds_.compare_exchange_weak(hold->next, hold, std::memory_order_acq_rel)) {
  }
}
