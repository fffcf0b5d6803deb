#pragma once

#include "foundation/VlData.h"

/// A volume on another one's voxels, which can be reached by lines only.
class RowVolume : public VlData {
 public:
  explicit RowVolume(const NmHandle<VlData>& voxels) : voxels_(voxels) {}

  NmPrimType primType() const override { return voxels_->primType(); }
  int numDataVars() const override { return voxels_->numDataVars(); }
  NmVec3l dims() const override { return voxels_->dims(); }
  void boundingBox(NmBox3f& box) const override { voxels_->boundingBox(box); }
  NmResult setBoundingBox(const NmBox3f& box) override { return voxels_->setBoundingBox(box); }

 protected:
  class Access : public VlDataAccess {
   public:
    explicit Access(const NmHandle<VlDataAccess>& inner) : inner_(inner) {}
    void* dataPtr(long) const override { return nullptr; }
    bool isContiguous() const override { return false; }
    bool isLinear() const override { return false; }
    NmResult row(long x, long y, long z, float* buffer) const override {
      return inner_->row(x, y, z, buffer);
    }
    NmResult putRow(long x, long y, long z, const float* buffer) const override {
      return inner_->putRow(x, y, z, buffer);
    }

   private:
    NmHandle<VlDataAccess> inner_;
  };

  NmHandle<VlDataAccess> openAccess(bool write) override {
    return new Access(voxels_->lock(write));
  }

 private:
  NmHandle<VlData> voxels_;
};
