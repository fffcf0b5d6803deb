#pragma once

#include "foundation/NmBox.h"
#include "foundation/NmHandableThreaded.h"
#include "foundation/NmHandle.h"
#include "foundation/NmPrimType.h"
#include "foundation/NmResult.h"
#include "foundation/NmVec.h"
#include "foundation/VlDataAccess.h"
#include "foundation/VlEvaluator.h"

class VlData;

namespace voxreg::detail {
class VoxelLock;
class VoxelLease;
struct VolumeCore;
}  // namespace voxreg::detail

/// A volume: a grid of voxels, x fastest, each of one or more interleaved data variables of one
/// type, and a bounding box in world units that passes through the centres of the outermost voxels.
/// A 2-D image is a volume with one voxel on one axis.
///
/// The voxels are accessed through a lock that admits many readers or one writer. A thread that
/// reads may take further read locks at any time, even if writers are waiting; a writer waits until
/// there is no reader. An access counts for the thread that took it, wherever it is used and
/// released. A request that would wait forever because of the thread's own lock fails at once. A
/// thread that keeps one volume locked and waits for another may deadlock with a thread that does
/// the reverse: hosts that do this must take their locks in one order. The library's own operations
/// on two volumes never deadlock with each other.
///
/// NmHandle owns a volume, which is destroyed with the last handle and lock. A volume may also
/// belong to the host, for example on the stack or as a member. Then no handle may ever be made of
/// it, not even by passing it to an operation that takes handles, and it must outlive its locks and
/// evaluators.
class VlData : public virtual NmHandableThreaded {
 public:
  enum EvaluatorFilter : int {
    NearestNeighbour = 0,  ///< the voxel closest to the location
    Trilinear = 1          ///< linear interpolation between the eight voxels around the location
  };

  VlData();
  VlData(const VlData&) = delete;
  VlData& operator=(const VlData&) = delete;
  ~VlData() override;

  virtual NmPrimType primType() const = 0;
  virtual int numDataVars() const = 0;
  virtual NmVec3l dims() const = 0;

  /// Writes the bounding box into `box`.
  virtual void boundingBox(NmBox3f& box) const = 0;

  /// Replaces the bounding box without changing voxels. Fails for a box that is not finite.
  virtual NmResult setBoundingBox(const NmBox3f& box) = 0;

  /// Waits for the voxels and gives access to them for reading or writing. Null, with an error
  /// line, if this thread's own lock makes that impossible, or if the volume has no voxels, or none
  /// that may be written.
  NmHandle<VlDataAccess> lock(bool write);

  /// Like lock, but returns null at once, without a line, if the voxels are not available now.
  NmHandle<VlDataAccess> tryLock(bool write);

  /// Smallest and largest current value of all voxels and data variables; NaN is skipped. `exact`
  /// false requests only an estimate; this class is always exact. Fails with 0, 0 and an error line
  /// if there is no number, or if this thread is writing.
  NmResult range(float& min, float& max, bool exact);

  /// Voxel size per axis in world units: extent / (n - 1), and the extent itself for one voxel.
  NmVec3f voxelSpacing() const;

  /// A sampler for this volume in its current state, bounding box included. Null, with an error
  /// line, if this thread cannot lock it for reading, its voxels are not in one block of a
  /// supported type, or the filter is unknown.
  NmHandle<VlEvaluator> createEvaluator(EvaluatorFilter filter);

  /// A sampler with the Lanczos kernel of three lobes: six voxels per axis, with weights
  /// renormalised where taps are outside the volume. Null as in createEvaluator.
  NmHandle<VlEvaluator> createEvaluatorLanczos();

 protected:
  /// Makes the access object once the lock is held. Null or an exception releases the lock.
  virtual NmHandle<VlDataAccess> openAccess(bool write) = 0;

  /// Excludes all others from the voxels while they are replaced; false if somebody holds them.
  class ExclusiveUse {
   public:
    explicit ExclusiveUse(VlData& volume);
    ExclusiveUse(const ExclusiveUse&) = delete;
    ExclusiveUse& operator=(const ExclusiveUse&) = delete;
    ~ExclusiveUse();
    bool isHeld() const { return held_; }

   private:
    voxreg::detail::VoxelLock& lock_;
    bool held_;
  };

 private:
  friend struct voxreg::detail::VolumeCore;

  /// Has openAccess make the access and ties the lease to its lifetime.
  NmHandle<VlDataAccess> open(voxreg::detail::VoxelLease lease);

  voxreg::detail::VoxelLock* lock_;
};
