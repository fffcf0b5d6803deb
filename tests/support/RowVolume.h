#pragma once

#include "foundation/VlData.h"

/// A volume on another one's voxels, whose access it returns.
class WrappedVolume : public VlData {
 public:
  explicit WrappedVolume(const NmHandle<VlData>& inner) : inner_(inner) {}

  NmPrimType primType() const override { return inner_->primType(); }
  int numDataVars() const override { return inner_->numDataVars(); }
  NmVec3l dims() const override { return inner_->dims(); }
  void boundingBox(NmBox3f& box) const override { inner_->boundingBox(box); }
  NmResult setBoundingBox(const NmBox3f& box) override { return inner_->setBoundingBox(box); }

 protected:
  NmHandle<VlDataAccess> openAccess(bool write) override { return inner_->lock(write); }

 private:
  NmHandle<VlData> inner_;
};

/// A volume whose voxels can be reached by lines only.
class RowVolume : public WrappedVolume {
 public:
  using WrappedVolume::WrappedVolume;
  bool hasRow1 = true;  ///< false: lines along x at y = 1 cannot be read

 protected:
  class Access : public VlDataAccess {
   public:
    Access(const NmHandle<VlDataAccess>& inner, bool hasRow1) : inner_(inner), hasRow1_(hasRow1) {}
    void* dataPtr(long) const override { return nullptr; }
    bool isContiguous() const override { return false; }
    bool isLinear() const override { return false; }
    NmResult row(long x, long y, long z, float* buffer) const override {
      const NmResult read = inner_->row(x, y, z, buffer);
      return NmResult(read.isOk() && (hasRow1_ || y != 1));
    }
    NmResult putRow(long x, long y, long z, const float* buffer) const override {
      return inner_->putRow(x, y, z, buffer);
    }

   private:
    NmHandle<VlDataAccess> inner_;
    bool hasRow1_;
  };

  NmHandle<VlDataAccess> openAccess(bool write) override {
    return new Access(WrappedVolume::openAccess(write), hasRow1);
  }
};
