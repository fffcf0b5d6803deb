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
/// type, and a bounding box in world units that runs through the centres of the outermost voxels. A
/// 2-D image is a volume with one voxel on one axis.
///
/// The voxels are reached through a lock that admits many readers or one writer. A thread that
/// reads may take further read locks at any time, writers waiting or not; a writer waits until no
/// reader is left. An access counts for the thread that took it, wherever it is used and let go.
/// What a thread could only wait for in vain because of its own lock is refused at once. A thread
/// that keeps one volume locked and waits for another may wait for a thread that does the reverse:
/// hosts which do that take their locks in one order. The library's own operations on two volumes
/// do not wait for each other.
///
/// A volume is held by NmHandle, and goes with the last handle and lock. It may also be the host's
/// alone, as an object on the stack or a member is: then no handle may ever be made of it, not even
/// by handing it to an operation that takes handles, and it must outlive its locks and evaluators.
class VlData : public virtual NmHandableThreaded {
 public:
  enum EvaluatorFilter : int {
    NearestNeighbour = 0,  ///< the voxel nearest to the location
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

  /// Replaces the bounding box; the voxels stay. Fails for a box that is not finite.
  virtual NmResult setBoundingBox(const NmBox3f& box) = 0;

  /// Waits for the voxels and gives access to them for reading or writing. Null, with an error
  /// line, when this thread's own lock makes that impossible or the volume has no voxels, or none
  /// that may be written.
  NmHandle<VlDataAccess> lock(bool write);

  /// As lock, but gives null at once, without a line, when the voxels are not to be had now.
  NmHandle<VlDataAccess> tryLock(bool write);

  /// Smallest and largest value of all voxels and data variables as they are now; NaN is passed
  /// over. `exact` false asks for no more than a fair estimate; this class always answers exactly.
  /// Fails with 0, 0 and an error line where there is no number, or when this thread is writing.
  NmResult range(float& min, float& max, bool exact);

  /// Voxel size per axis in world units: extent / (n - 1), and the extent itself for one voxel.
  NmVec3f voxelSpacing() const;

  /// A sampler for this volume as it is now, bounding box included. Null, with an error line, when
  /// this thread can't lock it for reading, its voxels are not in one block of a served type, or
  /// the filter is unknown.
  NmHandle<VlEvaluator> createEvaluator(EvaluatorFilter filter);

  /// A sampler with the Lanczos kernel of three lobes: six voxels per axis, weights renormalised
  /// where taps fall outside the volume. Null as createEvaluator.
  NmHandle<VlEvaluator> createEvaluatorLanczos();

 protected:
  /// Makes the access object once the lock is held. Null, or an exception, gives the lock back.
  virtual NmHandle<VlDataAccess> openAccess(bool write) = 0;

  /// Keeps everybody else off the voxels while they are replaced; false when somebody holds them.
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

  /// Lets openAccess make the access and ties the lease to its life.
  NmHandle<VlDataAccess> open(voxreg::detail::VoxelLease lease);

  voxreg::detail::VoxelLock* lock_;
};
