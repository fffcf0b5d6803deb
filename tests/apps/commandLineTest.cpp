#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "CommandTest.h"
#include "files/matrixFile.h"
#include "files/transformFile.h"
#include "tests/support/volumeValues.h"

namespace {

class CommandLine : public CommandTest {
 protected:
  NmVec3d shiftFound() const {
    const NmMat4d found = host::readMatrix(folder.file("out.txt"));
    return {found.m[3][0], found.m[3][1], found.m[3][2]};
  }
  nlohmann::json report() const {
    return nlohmann::json::parse(contentOf(folder.file("out-r.json")));
  }
  /// As head, but voxels are means over their 8 mm, without the aliases of single points.
  static host::NiftiVolume meansOfHead(const NmVec3d& shift = {}) {
    constexpr std::size_t n = 24, fineN = 3 * n;
    host::Acquisition moved;
    moved.modelToReference.setTranslate(shift);
    const host::NiftiVolume fine = host::acquire(host::Phantom(3), fineN, moved);
    const std::vector<float> values = valuesOf(*fine.image.volume());
    host::NiftiVolume means = everywhere(0.0f);
    float* const mean = static_cast<float*>(means.image.volume()->lock(true)->dataPtr(0));
    for (std::size_t i = 0; i < values.size(); ++i) {
      const std::size_t x = i % fineN / 3, y = i / fineN % fineN / 3, z = i / fineN / fineN / 3;
      mean[x + n * (y + n * z)] += values[i] / 27.0f;
    }
    return means;
  }
  static host::NiftiVolume everywhere(float value) {
    host::NiftiVolume volume = host::volumeLike(head(), NmPrimType::Float);
    std::fill_n(static_cast<float*>(volume.image.volume()->lock(true)->dataPtr(0)), 24 * 24 * 24,
                value);
    return volume;
  }
  std::vector<float> voxelsOf(const std::string& name) const {
    return valuesOf(*host::readNifti(folder.file(name)).image.volume());
  }
};

TEST_F(CommandLine, findsAKnownTranslationFromAnywhere) {
  saved(host::writeMatrix, folder.file("truth.txt"),
        NmMat4d(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 6, -4, 3, 1));
  for (const char* const start : {"", " --start @truth.txt"}) {
    const std::string told = outputOf(
        "affine -r @r.nii -m @m.nii --dof 3 --metric cr --matrix @out.txt -o @out.nii "
        "--picture @out.png --truth @truth.txt" +
        std::string(start));
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(shiftFound()[c], (NmVec3d(6, -4, 3)[c]), 0.5);
    EXPECT_NE(told.find("target error"), std::string::npos);
    EXPECT_EQ(host::readNifti(folder.file("out.nii")).image.dims(), NmVec3l(24, 24, 24));
    EXPECT_EQ(contentOf(folder.file("out.png")).substr(1, 3), "PNG");
    removeWritten();
  }
}

TEST_F(CommandLine, findsTheSameWithVoxelsMissing) {
  host::NiftiVolume holes = host::volumeLike(head(), NmPrimType::Float);
  std::vector<float> voxels = voxelsOf("r.nii");
  for (std::size_t i = 0; i < 27; ++i)
    voxels[5000 + 37 * i] = std::numeric_limits<float>::infinity();
  std::copy(voxels.begin(), voxels.end(),
            static_cast<float*>(holes.image.volume()->lock(true)->dataPtr(0)));
  save("holes.nii", holes);
  const auto shiftTo = [&](const char* model) {
    (void)outputOf("affine -r @m.nii -m " + std::string(model) +
                   " --dof 3 --metric cr --matrix @out.txt --report @out-r.json");
    return shiftFound();
  };
  const NmVec3d whole = shiftTo("@r.nii");
  EXPECT_TRUE(report()["warnings"].empty());
  const NmVec3d missing = shiftTo("@holes.nii");
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(missing[c], whole[c], 0.2);  // voxels measure 8 mm
  ASSERT_EQ(report()["warnings"].size(), 1u);
  EXPECT_NE(report()["warnings"][0].get<std::string>().find("27 voxels that are not finite"),
            std::string::npos);
}

TEST_F(CommandLine, reportsInFull) {
  host::NiftiVolume far = head();
  far.header->sto_xyz.m[0][3] += 5000;
  save("far.nii", far);
  EXPECT_EQ(outputOf("affine -r @r.nii -m @far.nii --metric cr --report @out-r.json --quiet"), "");
  EXPECT_EQ(contentOf(folder.file("stderr")), "");
  const nlohmann::json found = report();
  EXPECT_EQ(found["version"], VOXREG_VERSION);
  EXPECT_EQ(found["command"], "affine");
  EXPECT_EQ(found["transform"], "affine");
  EXPECT_EQ(found["settings"]["dof"], 12);
  EXPECT_EQ(found["settings"]["metric"], "cr");
  EXPECT_EQ(found["settings"]["model"], folder.file("far.nii"));
  EXPECT_EQ(found["metric"]["name"], "cr");
  EXPECT_TRUE(found["metric"]["before"].is_null());  // 5000 mm apart
  EXPECT_GT(found["metric"]["after"], 0.9);
  EXPECT_NE(found["start"]["chosen"], "none");
  EXPECT_GT(found["overlap"], 0.7);
  EXPECT_NEAR(found["smallestJacobian"], 1.0, 0.1);
  EXPECT_GT(found["seconds"], 0.0);
  EXPECT_TRUE(found["evaluations"].is_number_integer() && found["gradients"].is_number_integer());
}

TEST_F(CommandLine, findsGridsAndLatticesThatApplyUses) {
  const std::pair<std::string, const char*> commands[] = {
      {"nonaffine --bricks 3 3 3 --stages 1 2 --metric cr", "bricks"},
      {"elastic --engine bricks --no-mask", "bricks"},
      {"elastic --no-mask --subtraction @out-s.nii", "lattice"}};
  for (const auto& [command, kind] : commands) {
    SCOPED_TRACE(command);
    const std::string told =
        outputOf(command +
                 " -r @r.nii -m @m.nii -o @out.nii --interpolation linear --background 3 --picture "
                 "@out.png --report @out-r.json --transform @out-t.json --truth @points.txt");
    const auto at = told.find("displacement error");
    ASSERT_NE(at, std::string::npos);
    EXPECT_LT(std::stod(told.substr(at + 24)), 4.0);  // half a voxel; 7.8 at the start
    EXPECT_EQ(report()["transform"], kind);
    EXPECT_GT(report()["metric"]["after"], report()["metric"]["before"]);
    EXPECT_GT(report()["overlap"], 0.7);
    EXPECT_GT(report()["smallestJacobian"], 0.0);
    EXPECT_LE(report()["smallestJacobian"], 1.0);
    (void)outputOf("apply -r @r.nii -m @m.nii -o @out2.nii --transform @out-t.json --background 3");
    EXPECT_EQ(contentOf(folder.file("out2.nii")), contentOf(folder.file("out.nii")));
  }
  const std::vector<float> reference = voxelsOf("r.nii"), moved = voxelsOf("out.nii"),
                           rest = voxelsOf("out-s.nii");
  for (std::size_t i = 0; i < rest.size(); ++i) EXPECT_EQ(rest[i], moved[i] - reference[i]) << i;
  EXPECT_LT(*std::min_element(rest.begin(), rest.end()), 0.0f);
}

TEST_F(CommandLine, findsALatticeThatApplyUses) {
  const std::string deform =
      "deform -r @means.nii -m @moved.nii -o @out.nii --spacing 40 --background 3 --picture "
      "@out.png --report @out-r.json --transform @out-t.json --truth @points.txt ";
  const auto transform = [&] { return host::readTransform(folder.file("out-t.json")); };
  save("means.nii", meansOfHead());
  save("moved.nii", meansOfHead({6, -4, 3}));
  save("all.nii", everywhere(1.0f));
  saved(host::writeMatrix, folder.file("truth.txt"),
        NmMat4d(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 6, -4, 3, 1));
  for (const std::string more : {"--start @truth.txt", "--start-transform @start.json", "",
                                 "--reference-mask @all.nii --model-mask @all.nii"}) {
    SCOPED_TRACE(more);
    const std::string told = outputOf(deform + more);
    const auto at = told.find("displacement error");
    ASSERT_NE(at, std::string::npos);
    EXPECT_LT(std::stod(told.substr(at + 24)), 3.2);  // 0.4 voxels; 7.8 at the start
    EXPECT_EQ(contentOf(folder.file("out.png")).substr(1, 3), "PNG");
    EXPECT_EQ(report()["transform"], "lattice");
    EXPECT_EQ(report()["settings"]["spacing"], 40.0);
    EXPECT_GT(report()["metric"]["after"], report()["metric"]["before"]);
    (void)outputOf(
        "apply -r @means.nii -m @moved.nii -o @out2.nii --transform @out-t.json "
        "--background 3");
    EXPECT_EQ(contentOf(folder.file("out2.nii")), contentOf(folder.file("out.nii")));
    EXPECT_NE(transform().lattice(), nullptr);
    std::filesystem::copy_file(folder.file("out-t.json"), folder.file("start.json"),
                               std::filesystem::copy_options::overwrite_existing);
    removeWritten();
  }
  const voxreg::Transform lattice = host::readTransform(folder.file("start.json"));
  const std::string told = outputOf(deform + "--as bricks");
  const auto at = told.find("error of the bricks");
  ASSERT_NE(at, std::string::npos);
  const double largest = std::stod(told.substr(told.find("mean, ", at) + 6));
  EXPECT_LT(largest, 2.0);
  ASSERT_NE(transform().bricks(), nullptr);
  for (double x = -60; x <= 60; x += 13) {
    const NmVec3d p(x, 0.5 * x, -x), a = lattice(p), b = transform()(p);
    EXPECT_LE(std::hypot(a.x - b.x, a.y - b.y, a.z - b.z), 1.1 * largest) << x;
  }
}

TEST_F(CommandLine, appliesALatticeAsTheMatrixThatItEquals) {
  saved(host::writeMatrix, folder.file("truth.txt"),
        NmMat4d(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 6, -4, 3, 1));
  // A part of the shift is in the coefficients, which splines of sum 1 make a constant.
  voxreg::LatticeMap map = {voxreg::ControlLattice({-50, 50, -50, 50, -50, 50}, {3, 4, 5}),
                            {},
                            NmMat4d(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 4, -3, 1)};
  std::fill_n(map.lattice.values.begin(), map.lattice.controlCount(), -7.0);
  saved(host::writeTransform, folder.file("out-t.json"), voxreg::Transform::fromLattice(map));
  (void)outputOf("apply -r @r.nii -m @m.nii -o @out.nii --matrix @truth.txt");
  (void)outputOf("apply -r @r.nii -m @m.nii -o @out2.nii --transform @out-t.json");
  const std::vector<float> expected = voxelsOf("out.nii"), found = voxelsOf("out2.nii");
  for (std::size_t i = 0; i < found.size(); ++i) EXPECT_NEAR(found[i], expected[i], 1e-3) << i;
}

TEST_F(CommandLine, appliesAFieldToTheBit) {
  host::NiftiVolume model = head();
  const std::vector<float> voxels = voxelsOf("m.nii");
  const voxreg::ImageFrame& frame = model.image.frame();
  voxreg::DisplacementMap map;  // every voxel to the next one along x
  map.field = {{frame.box.xmin, frame.box.ymin, frame.box.zmin}, {1, 1, 1}, {2, 1, 2}, {}};
  map.field.values = {8, 8, 8, 8, 0, 0, 0, 0, 0, 0, 0, 0};
  map.toWorld = frame.toWorld;
  for (const char* const name : {"out-t.nii", "out-t.nii.gz"}) {
    saved(host::writeTransform, folder.file(name), voxreg::Transform::fromField(map));
    (void)outputOf("apply -r @r.nii -m @m.nii -o @out.nii --background 3 --transform @" +
                   std::string(name));
    const std::vector<float> found = voxelsOf("out.nii");
    for (std::size_t i = 0; i < found.size(); ++i)
      EXPECT_EQ(found[i], i % 24 < 23 ? voxels[i + 1] : 3.0f) << i;
  }
}

TEST_F(CommandLine, writesFieldsFromWhichOthersStart) {
  const std::string told = outputOf(
      "nonaffine --bricks 3 3 3 --stages 1 2 --metric cr -r @r.nii -m @m.nii -o @out.nii "
      "--background 3 --transform @start.nii.gz");
  EXPECT_NE(told.find("error of the field"), std::string::npos);
  EXPECT_NE(host::readTransform(folder.file("start.nii.gz")).field(), nullptr);
  (void)outputOf("apply -r @r.nii -m @m.nii -o @out2.nii --transform @start.nii.gz --background 3");
  const std::vector<float> expected = voxelsOf("out.nii"), found = voxelsOf("out2.nii");
  for (std::size_t i = 0; i < found.size(); ++i) EXPECT_NEAR(found[i], expected[i], 0.1) << i;
  const std::string next = outputOf(
      "deform --spacing 60 --start-transform @start.nii.gz -r @r.nii -m @m.nii --transform "
      "@out-t.nii --as field --truth @points.txt");
  EXPECT_NE(next.find("error of the field"), std::string::npos);
  EXPECT_LT(std::stod(next.substr(next.find("displacement error") + 24)), 4.0);  // half a voxel
  EXPECT_NE(host::readTransform(folder.file("out-t.nii")).field(), nullptr);
}

/// A smooth oblong spot as a 2-D image, its centre at x, y.
void writeImage(const std::string& path, double x, double y) {
  nifti_1_header header = makeHeader(64, 64, 0, DT_FLOAT32, 32);
  header.dim[0] = 2;
  place(header, {{3, 0, 0, -96}, {0, 3, 0, -96}, {0, 0, 1, 0}});
  std::vector<float> pixels;
  for (int j = 0; j < 64; ++j)
    for (int i = 0; i < 64; ++i)
      pixels.push_back(static_cast<float>(1000.0 * std::exp(-std::pow((3 * i - 96 - x) / 30, 2) -
                                                            std::pow((3 * j - 96 - y) / 50, 2))));
  writeFile(path, bytesOf(header, pixels));
}

TEST_F(CommandLine, registersFlatImagesWithinTheirPlane) {
  writeImage(folder.file("still.nii"), 5, -4);
  writeImage(folder.file("moved.nii"), 0, 0);
  writeFile(folder.file("points.txt"), "15 6 0 10 10 0\n");
  const std::string pair = " -r @still.nii -m @moved.nii -o @out.nii --picture @out.png";
  (void)outputOf("affine --dof 6 --matrix @out.txt" + pair);
  EXPECT_NEAR(shiftFound().x, 5.0, 0.3);
  EXPECT_NEAR(shiftFound().y, -4.0, 0.3);
  EXPECT_EQ(shiftFound().z, 0.0);
  EXPECT_NEAR(host::readMatrix(folder.file("out.txt")).m[0][1], 0.0, 0.01);
  const std::string told = outputOf(
      "nonaffine --metric=cr --stages=2 --bricks 3 3 3 --transform @out-t.json --truth "
      "@points.txt" +
      pair);
  EXPECT_LT(std::stod(told.substr(told.find("displacement error") + 24)), 1.5);
  const std::string smooth = outputOf("deform --truth @points.txt" + pair);
  EXPECT_LT(std::stod(smooth.substr(smooth.find("displacement error") + 24)), 1.5);
}

TEST_F(CommandLine, resamplesWithEveryFilter) {
  for (const std::string filter : {"box", "triangle", "bell", "bspline", "lanczos3", "mitchell",
                                   "minimum", "maximum", "cubic6", "cubic8", "lanczos20"}) {
    (void)outputOf("resample --input @r.nii -o @out.nii --spacing 16 16 12 --filter " + filter);
    const host::NiftiVolume half = host::readNifti(folder.file("out.nii"));
    EXPECT_EQ(half.image.dims(), NmVec3l(12, 12, 16)) << filter;
    EXPECT_NEAR(half.image.volume()->voxelSpacing().z, 12.0, 1e-4);
  }
}

}  // namespace
