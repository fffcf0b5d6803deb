#include <algorithm>
#include <cmath>

#include "Child.h"
#include "files/matrixFile.h"
#include "files/niftiVolume.h"
#include "phantoms/Phantom.h"
#include "saved.h"
#include "testFiles.h"
#include "voxelsOf.h"

namespace {

double displacementErrorIn(const std::string& output) {
  const auto at = output.find("displacement error");
  EXPECT_NE(at, std::string::npos) << output;
  return at == std::string::npos ? NAN : std::stod(output.substr(at + 24));
}

class CommandLine : public testing::Test {
 protected:
  void SetUp() override {
    const host::Phantom phantom(3);
    saved(host::writeNifti, folder.file("r.nii.gz"), host::acquire(phantom, size, {}));
    host::Acquisition moved;
    moved.modelToReference.setTranslate(NmVec3d(6, -4, 3));
    saved(host::writeNifti, folder.file("m.nii.gz"), host::acquire(phantom, size, moved));
    saved(host::writeMatrix, folder.file("truth.txt"), moved.modelToReference);
  }

  std::vector<std::string> arguments() const {
    return {"affine",
            "--reference",
            folder.file("r.nii.gz"),
            "--model",
            folder.file("m.nii.gz"),
            "--dof",
            "3",
            "--matrix",
            folder.file("out.txt"),
            "--output",
            folder.file("out.nii"),
            "--picture",
            folder.file("out.png")};
  }

  /// The usual arguments with the one after `option` replaced.
  std::vector<std::string> argumentsWith(const std::string& option,
                                         const std::string& value) const {
    std::vector<std::string> result = arguments();
    *(std::find(result.begin(), result.end(), option) + 1) = value;
    return result;
  }

  bool wrote(const std::string& name) const { return std::filesystem::exists(folder.file(name)); }

  void expectRefused(const std::vector<std::string>& arguments, const std::string& reason) {
    SCOPED_TRACE(reason);
    Child child(folder, arguments);
    EXPECT_EQ(child.wait(), 2);
    const std::string errors = child.errors();
    EXPECT_NE(errors.find(reason), std::string::npos) << errors;
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
    EXPECT_EQ(child.output(), "");
    // The three inputs and the two streams.
    EXPECT_EQ(folder.names().size(), 5u);
  }

  static constexpr int size = 32;
  const TestFolder folder;
};

TEST_F(CommandLine, findsAKnownTranslation) {
  std::vector<std::string> known = arguments();
  known.insert(known.end(), {"--truth", folder.file("truth.txt")});
  Child child(folder, known);
  ASSERT_EQ(child.wait(), 0) << child.errors();
  const NmMat4d found = host::readMatrix(folder.file("out.txt"));
  EXPECT_NEAR(found.m[3][0], 6.0, 0.4);  // voxels measure 6 mm
  EXPECT_NEAR(found.m[3][1], -4.0, 0.4);
  EXPECT_NEAR(found.m[3][2], 3.0, 0.4);
  EXPECT_NE(child.output().find("target error"), std::string::npos);
  EXPECT_EQ(host::readNifti(folder.file("out.nii")).image.dims(), NmVec3l(size, size, size));
  EXPECT_EQ(contentOf(folder.file("out.png")).substr(1, 3), "PNG");
}

/// The phantom, moved by 6, -4, 3 mm, in a file whose axes are permuted, flipped and turned by 20
/// degrees against the world's.
void writeObliqueModel(const std::string& path) {
  nifti_1_header header = makeHeader(40, 40, 40, DT_FLOAT32, 32);
  const float c = 5.0f * std::cos(0.35f), s = 5.0f * std::sin(0.35f);
  const float rows[3][4] = {{-s, -c, 0, 130}, {c, -s, 0, -30}, {0, 0, -5, 95}};
  std::memcpy(header.srow_x, rows[0], sizeof rows[0]);
  std::memcpy(header.srow_y, rows[1], sizeof rows[1]);
  std::memcpy(header.srow_z, rows[2], sizeof rows[2]);
  const host::Phantom phantom(3);
  std::vector<float> voxels;
  for (int k = 0; k < 40; ++k)
    for (int j = 0; j < 40; ++j)
      for (int i = 0; i < 40; ++i) {
        NmVec3d world(6, -4, 3);
        for (int w = 0; w < 3; ++w) {
          const float* const row = rows[w];
          world[w] += static_cast<double>(row[0]) * i + static_cast<double>(row[1]) * j +
                      static_cast<double>(row[2]) * k + static_cast<double>(row[3]);
        }
        voxels.push_back(static_cast<float>(4000.0 * phantom.value(world)));
      }
  writeFile(path, bytesOf(header, voxels));
}

TEST_F(CommandLine, tellsTheMatrixBetweenTheWorldsWhateverTheAxesOfTheFile) {
  writeObliqueModel(folder.file("oblique.nii"));
  std::vector<std::string> oblique = argumentsWith("--model", folder.file("oblique.nii"));
  *(std::find(oblique.begin(), oblique.end(), "--dof") + 1) = "6";
  Child child(folder, oblique);
  ASSERT_EQ(child.wait(), 0) << child.errors();
  const NmMat4d found = host::readMatrix(folder.file("out.txt"));
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_NEAR(found.m[i][j], i == j ? 1.0 : 0.0, 0.01);
  EXPECT_NEAR(found.m[3][0], 6.0, 0.5);
  EXPECT_NEAR(found.m[3][1], -4.0, 0.5);
  EXPECT_NEAR(found.m[3][2], 3.0, 0.5);
}

/// A smooth oblong spot as a 2-D image, its centre at x, y.
void writeImage(const std::string& path, double x, double y) {
  nifti_1_header header = makeHeader(64, 64, 0, DT_FLOAT32, 32);
  header.dim[0] = 2;
  const float rows[2][4] = {{3, 0, 0, -96}, {0, 3, 0, -96}};
  std::memcpy(header.srow_x, rows[0], sizeof rows[0]);
  std::memcpy(header.srow_y, rows[1], sizeof rows[1]);
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
  std::vector<std::string> flat = argumentsWith("--model", folder.file("moved.nii"));
  *(std::find(flat.begin(), flat.end(), "--reference") + 1) = folder.file("still.nii");
  *(std::find(flat.begin(), flat.end(), "--dof") + 1) = "6";
  Child child(folder, flat);
  ASSERT_EQ(child.wait(), 0) << child.errors();
  const NmMat4d found = host::readMatrix(folder.file("out.txt"));
  EXPECT_NEAR(found.m[3][0], 5.0, 0.3);
  EXPECT_NEAR(found.m[3][1], -4.0, 0.3);
  EXPECT_EQ(found.m[3][2], 0.0);
  EXPECT_NEAR(found.m[0][1], 0.0, 0.01);
  EXPECT_TRUE(wrote("out.nii") && wrote("out.png"));

  writeFile(folder.file("points.txt"), "15 6 0 10 10 0\n");
  Child grid(folder, {"nonaffine", "--reference", folder.file("still.nii"), "--model",
                      folder.file("moved.nii"), "--metric=cr", "--stages=2", "--bricks", "3", "3",
                      "3", "--transform", folder.file("t.json"), "--output", folder.file("out.nii"),
                      "--picture", folder.file("out.png"), "--truth", folder.file("points.txt")});
  ASSERT_EQ(grid.wait(), 0) << grid.errors();
  EXPECT_LT(displacementErrorIn(grid.output()), 1.5);
}

TEST_F(CommandLine, startsFromAMatrixInTheWorld) {
  std::vector<std::string> started = arguments();
  started.insert(started.end(), {"--start", folder.file("truth.txt")});
  Child child(folder, started);
  ASSERT_EQ(child.wait(), 0) << child.errors();
  EXPECT_NEAR(host::readMatrix(folder.file("out.txt")).m[3][0], 6.0, 0.3);
}

TEST_F(CommandLine, refusesBadInputInOneLineAndLeavesNothingBehind) {
  const std::string nowhere = folder.file("nowhere/out");
  expectRefused(argumentsWith("--reference", folder.file("none.nii")), "does not exist");
  expectRefused(argumentsWith("--model", VOXREG_PROGRAM), "not a NIfTI file");
  expectRefused(argumentsWith("--dof", "5"), "--dof");
  expectRefused(argumentsWith("--matrix", nowhere), "cannot write");
  expectRefused(argumentsWith("--output", nowhere + ".nii"), "cannot write");
  expectRefused(argumentsWith("--output", folder.file("out.mgz")), ".nii");
  expectRefused(argumentsWith("--picture", folder.file("out.jpg")), ".png");
  expectRefused(argumentsWith("--matrix", "/dev/null"), "not a regular file");
  std::vector<std::string> extended = arguments();
  extended.insert(extended.end(), {"--start", folder.file("r.nii.gz")});
  expectRefused(extended, "4 x 4 numbers");
  extended = arguments();
  extended.insert(extended.end(), {"--metric", "nonsense"});
  expectRefused(extended, "--metric");
  expectRefused({"affine", "--nonsense"}, "--");
  expectRefused({"nonsense"}, "");
  expectRefused({}, "subcommand");
}

TEST_F(CommandLine, refusesBadSettings) {
  const auto refusedWith = [&](std::vector<std::string> added, const std::string& reason) {
    std::vector<std::string> all = arguments();
    all.insert(all.end(), added.begin(), added.end());
    expectRefused(all, reason);
  };
  refusedWith({"--stages", "3", "6"}, "--stages");
  refusedWith({"--levels", "2", "--coarsest", "2", "2", "2"}, "--levels");
  refusedWith({"--steps", "1", "nan"}, "not a number");
  refusedWith({"--steps", "0.1", "8"}, "largest step");
  refusedWith({"--steps", "8"}, "--steps");
  refusedWith({"--range-model", "5", "5"}, "range");
  refusedWith({"--bins", "0"}, "--bins");
  const std::string r = folder.file("r.nii.gz"), o = folder.file("o.nii");
  expectRefused({"resample", "--input", r, "--output", o}, "--spacing");
  expectRefused({"resample", "--input", r, "--output", o, "--size", "8", "8", "0"}, "--size");
  expectRefused({"resample", "--input", r, "--output", o, "--spacing", "1", "1", "1e-9"}, "voxels");
  expectRefused({"apply", "--model", r, "--reference", r, "--output", o}, "--transform");
  expectRefused({"apply", "--model", r, "--reference", r, "--output", o, "--transform", r},
                "not a transform file");
  expectRefused(
      {"nonaffine", "--reference", r, "--model", r, "--output", o, "--picture",
       folder.file("o.png"), "--transform", folder.file("o.json"), "--bricks", "2", "2", "33"},
      "--bricks");
}

TEST_F(CommandLine, resamplesWithEveryFilter) {
  for (const char* const filter : {"box", "triangle", "bell", "bspline", "lanczos3", "mitchell",
                                   "minimum", "maximum", "cubic6", "cubic8", "lanczos20"}) {
    Child child(folder,
                {"resample", "--input", folder.file("r.nii.gz"), "--output",
                 folder.file("half.nii"), "--spacing", "12", "12", "9", "--filter", filter});
    ASSERT_EQ(child.wait(), 0) << child.errors();
    const host::NiftiVolume half = host::readNifti(folder.file("half.nii"));
    EXPECT_EQ(half.image.dims(), NmVec3l(16, 16, 22)) << filter;
    EXPECT_NEAR(half.image.volume()->voxelSpacing().z, 9.0, 1e-4);
  }
}

/// The arguments of a registration of the moved phantom on grids of 1, 2 and 3 bricks.
std::vector<std::string> gridArguments(const TestFolder& folder) {
  return {"nonaffine",
          "--reference",
          folder.file("r.nii.gz"),
          "--model",
          folder.file("m.nii.gz"),
          "--metric",
          "cr",
          "--bricks",
          "3",
          "3",
          "3",
          "--stages",
          "1",
          "2",
          "--transform",
          folder.file("t.json"),
          "--output",
          folder.file("out.nii"),
          "--picture",
          folder.file("out.png")};
}

TEST_F(CommandLine, findsAGridOfBricksThatApplyUses) {
  std::vector<std::string> all = gridArguments(folder);
  writeFile(folder.file("points.txt"), "10 20 -15 4 24 -18\n-20 5 10 -26 9 7\n");
  all.insert(all.end(), {"--truth", folder.file("points.txt")});
  Child child(folder, all);
  ASSERT_EQ(child.wait(), 0) << child.errors();
  EXPECT_LT(displacementErrorIn(child.output()), 3.0);  // half a voxel; 7.8 at the start
  Child apply(folder, {"apply", "--transform", folder.file("t.json"), "--reference",
                       folder.file("r.nii.gz"), "--model", folder.file("m.nii.gz"), "--output",
                       folder.file("again.nii")});
  ASSERT_EQ(apply.wait(), 0) << apply.errors();
  EXPECT_EQ(contentOf(folder.file("again.nii")), contentOf(folder.file("out.nii")));
}

TEST_F(CommandLine, anInterruptedGridIsWritten) {
  Child child(folder, gridArguments(folder));
  child.awaitSearch();
  child.interrupt();
  EXPECT_EQ(child.wait(), 130);
  EXPECT_TRUE(wrote("t.json") && wrote("out.nii") && wrote("out.png"));
}

TEST_F(CommandLine, theFirstInterruptionStopsTheSearchAndWritesWhatWasReached) {
  Child child(folder, argumentsWith("--dof", "12"));
  child.awaitSearch();
  child.interrupt();
  EXPECT_EQ(child.wait(), 130);
  EXPECT_TRUE(wrote("out.txt") && wrote("out.nii") && wrote("out.png"));
  EXPECT_NE(child.output().find("interrupted"), std::string::npos);
}

TEST_F(CommandLine, theSecondInterruptionEndsTheProgram) {
  Child child(folder, argumentsWith("--dof", "12"));
  child.awaitSearch();
  child.interrupt();
  child.interrupt();
  const int code = child.wait();
  EXPECT_TRUE(code == -SIGINT || code == 130) << code;
}

/// A thin slab of waves, moved along x, in values from 10 to 11.
void writeWaves(const std::string& path, double shift) {
  nifti_1_header header = makeHeader(48, 48, 4, DT_FLOAT32, 32);
  for (float* const row : {header.srow_x, header.srow_y, header.srow_z})
    for (int i = 0; i < 3; ++i) row[i] *= 3.0f;
  std::vector<float> voxels;
  for (int k = 0; k < 4; ++k)
    for (int j = 0; j < 48; ++j)
      for (int i = 0; i < 48; ++i) {
        const double x = 3 * i - shift;
        const double waves = std::sin(x / 10) * std::sin(j / 3.5) + std::sin(x / 14 + j / 6.0);
        voxels.push_back(static_cast<float>(10.5 + 0.2 * waves));
      }
  writeFile(path, bytesOf(header, voxels));
}

class ElasticCommandLine : public CommandLine {
 protected:
  void SetUp() override {
    writeWaves(folder.file("r.nii"), 0.0);
    writeWaves(folder.file("m.nii"), 3.0);
    writeFile(folder.file("points.txt"), "70 70 3 73 70 3\n50 80 6 53 80 6\n");
  }

  std::vector<std::string> elasticArguments(std::vector<std::string> more = {}) const {
    more.insert(more.begin(),
                {"elastic", "--reference", folder.file("r.nii"), "--model", folder.file("m.nii"),
                 "--transform", folder.file("out.json"), "--output", folder.file("out.nii"),
                 "--picture", folder.file("out.png"), "--subtraction", folder.file("out-s.nii"),
                 "--levels", "10", "10.05"});
    return more;
  }

  /// Except at the edges, where the model shows something else.
  double meanSquare(const std::vector<float>& values) const {
    double sum = 0.0;
    const auto isInner = [](std::size_t place) { return place > 5 && place < 42; };
    for (std::size_t i = 0; i < values.size(); ++i)
      if (isInner(i % 48) && isInner(i / 48 % 48))
        sum += std::pow(static_cast<double>(values[i]), 2);
    return sum;
  }
};

TEST_F(ElasticCommandLine, bringsThePairTogetherInItsOwnUnits) {
  Child child(folder, elasticArguments({"--no-mask", "--truth", folder.file("points.txt")}));
  ASSERT_EQ(child.wait(), 0) << child.errors();
  EXPECT_NE(child.output().find("displacement error"), std::string::npos);
  EXPECT_TRUE(wrote("out.json") && wrote("out.png"));
  const auto voxels = [&](const char* name) {
    const host::NiftiVolume volume = host::readNifti(folder.file(name));
    EXPECT_EQ(volume.image.volume()->primType(), NmPrimType::Float);
    return voxelsOf(*volume.image.volume());
  };
  const std::vector<float> reference = voxels("r.nii");
  const std::vector<float> registered = voxels("out.nii");
  std::vector<float> before = voxels("m.nii");
  std::vector<float> after = voxels("out-s.nii");
  for (std::size_t i = 0; i < after.size(); ++i) {
    before[i] -= reference[i];
    EXPECT_NEAR(after[i], registered[i] - reference[i], 1e-5);
  }
  EXPECT_LT(meanSquare(after), 0.5 * meanSquare(before));
}

TEST_F(ElasticCommandLine, refusesBadInputInOneLineAndLeavesNothingBehind) {
  expectRefused(elasticArguments({"--mask", "--no-mask"}), "--no-mask");
  expectRefused(elasticArguments({"--max-bricks", "41"}), "--max-bricks");
  expectRefused(elasticArguments({"--roi", "0", "48", "0", "47", "0", "3"}), "--roi");
  expectRefused(elasticArguments({"--roi", "9", "9", "0", "47", "0", "3"}), "--roi");
  expectRefused(elasticArguments({"--truth", folder.file("r.nii")}), "six numbers");
  expectRefused(elasticArguments({"--levels", "1"}), "--levels");
  std::vector<std::string> other = elasticArguments();
  std::filesystem::rename(folder.file("points.txt"), folder.file("other.nii"));
  writeImage(folder.file("other.nii"), 0, 0);
  *(std::find(other.begin(), other.end(), "--model") + 1) = folder.file("other.nii");
  expectRefused(other, "voxel grid");
}

TEST_F(ElasticCommandLine, anInterruptionWritesWhatWasReached) {
  Child child(folder, elasticArguments({"--no-mask"}));
  child.awaitSearch();
  child.interrupt();
  EXPECT_EQ(child.wait(), 130);
  EXPECT_TRUE(wrote("out.json") && wrote("out.nii") && wrote("out-s.nii") && wrote("out.png"));
}

}  // namespace
