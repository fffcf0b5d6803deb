#include "files/zoomed.h"

#include "saved.h"
#include "terminal/HostError.h"
#include "terminal/InterruptibleProgress.h"
#include "worldRamp.h"

namespace {

TEST(Zoomed, keepsEveryVoxelAtItsPlaceInTheWorldInTheFileToo) {
  const TestFolder folder;
  nifti_1_header header = makeHeader(24, 20, 16, DT_FLOAT32, 32);
  place(header, {{0, -1.6f, 1.2f, 20}, {0, 1.2f, 1.6f, -5}, {-3, 0, 0, 40}});
  writeFile(folder.file("ramp.nii"), worldRamp::bytes(header));
  const host::NiftiVolume ramp = host::readNifti(folder.file("ramp.nii"));
  ASSERT_LT(worldRamp::worstError(ramp), 1e-3);
  host::InterruptibleProgress progress;
  // The filter keeps a ramp but for the rim, and but for the phases of a fractional reduction.
  const struct {
    NmVec3f dims;
    long rim;
    double tolerance;
  } cases[] = {{NmVec3f(25, 32, 48), 6, 0.01},
               {NmVec3f(10, 8, 12), 2, 0.01},
               {NmVec3f(13.25f, 16, 18.5f), 4, 0.1}};
  for (const auto& [dims, rim, tolerance] : cases) {
    saved(host::writeNifti, folder.file("out.nii"),
          host::zoomed(ramp, dims, RegResampler::Mitchell, progress));
    const host::NiftiVolume read = host::readNifti(folder.file("out.nii"));
    for (int a = 0; a < 3; ++a) EXPECT_EQ(read.image.dims()[a], std::ceil(dims[a]));
    EXPECT_LT(worldRamp::worstError(read, rim), tolerance) << dims.x;
    EXPECT_EQ(read.order.gridAxis[2], ramp.order.gridAxis[2]);
  }
  // What no file or memory holds.
  for (const NmVec3f& dims : {NmVec3f(0, 1, 1), NmVec3f(1, 40000, 1), NmVec3f(1, NAN, 1)})
    EXPECT_THROW((void)host::zoomed(ramp, dims, RegResampler::Box, progress), host::HostError);
}

}  // namespace
