#include "files/fieldFile.h"

#include <nifti2_io.h>

#include <cmath>

#include "files/transformFile.h"
#include "saved.h"
#include "terminal/HostError.h"
#include "testFiles.h"
#include "tests/support/expectNear.h"
#include "tests/support/fields.h"

namespace {

using voxreg::DisplacementMap;
using voxreg::Transform;

/// Three nodes along the second axis, which points to the world's -x in steps of 2 mm from 10, 20,
/// 30; made without the code under test.
nifti_1_header fieldHeader() {
  nifti_1_header header = makeHeader(1, 3, 1, DT_FLOAT32, 32);
  header.dim[0] = 5;
  header.dim[4] = 1;
  header.dim[5] = 3;
  header.intent_code = NIFTI_INTENT_DISPVECT;
  place(header, {{0, -2, 0, 10}, {1, 0, 0, 20}, {0, 0, 1, 30}});
  return header;
}
const std::vector<float> nine = {1, 2, 3, 40, 50, 60, 700, 800, 900};

TEST(FieldFile, holdsDisplacementsInWorldMillimetresAtItsNodes) {
  const TestFolder folder;
  nifti_1_header swapped = fieldHeader();
  swap_nifti_header(&swapped, 1);
  std::vector<float> turned = nine;
  nifti_swap_4bytes(9, turned.data());
  nifti_1_header scaled = fieldHeader();
  scaled.scl_slope = 2.0f;
  scaled.scl_inter = -1.0f;
  std::vector<float> halved = nine;
  for (float& value : halved) value = (value + 1.0f) / 2.0f;
  writeFile(folder.file("plain.nii"), bytesOf(fieldHeader(), nine));
  writeFile(folder.file("turned.nii"), bytesOf(swapped, turned));
  writeFile(folder.file("scaled.nii"), bytesOf(scaled, halved));
  writeCompressed(folder.file("small.nii.gz"), bytesOf(fieldHeader(), nine));
  for (const char* const name : {"plain.nii", "turned.nii", "scaled.nii", "small.nii.gz"}) {
    SCOPED_TRACE(name);
    const Transform transform = host::readTransform(folder.file(name));
    ASSERT_NE(transform.field(), nullptr);
    expectNear(transform(NmVec3d(10, 20, 30)), NmVec3d(11, 60, 730), 1e-12);
    expectNear(transform(NmVec3d(7, 20, 30)), NmVec3d(9.5, 75, 880), 1e-12);
    expectNear(transform(NmVec3d(0, 99, -5)), NmVec3d(3, 159, 895), 1e-12);
  }
}

TEST(FieldFile, bringsTheMapBackWithItsMatrix) {
  const TestFolder folder;
  DisplacementMap flat = someField(2.0f);
  flat.field.dims = {5, 1, 4};
  flat.field.values.resize(3 * 5 * 4);
  flat.field.spacing.y = 0.0;
  for (const DisplacementMap& map : {someField(2.0f), flat})
    for (const char* const name : {"t.nii", "t.nii.gz"}) {
      saved(host::writeTransform, folder.file(name), Transform::fromField(map));
      const DisplacementMap found = host::readField(folder.file(name));
      EXPECT_EQ(found.field.dims, map.field.dims);
      for (const NmVec3d& share : {NmVec3d(0, 0, 0), NmVec3d(1, 1, 1), NmVec3d(0.3, 0.6, 0.9)}) {
        NmVec3d place;
        for (int a = 0; a < 3; ++a)
          place[a] =
              map.field.origin[a] + share[a] * map.field.spacing[a] * (map.field.dims[a] - 1);
        map.toWorld.multVecMatrix(place, place);
        expectNear(found(place), map(place), 1e-5);
      }
    }
}

TEST(FieldFile, isWrittenAsDeclared) {
  const TestFolder folder;
  DisplacementMap map = {fieldAlongX({1, 2, 3}, 2.0, {3, 1, 1}), {}, {}};
  map.referenceToModel.setTranslate(NmVec3d(0.5, -0.25, 8));
  saved(host::writeField, folder.file("t.nii"), map);
  const std::string bytes = contentOf(folder.file("t.nii"));
  nifti_1_header header = {};
  float values[9];
  ASSERT_EQ(bytes.size(), sizeof header + 4 + sizeof values);
  std::memcpy(static_cast<void*>(&header), bytes.data(), sizeof header);
  std::memcpy(values, bytes.data() + sizeof header + 4, sizeof values);
  const short dims[] = {5, 3, 1, 1, 1, 3};
  EXPECT_EQ(std::memcmp(header.dim, dims, sizeof dims), 0);
  EXPECT_EQ(header.intent_code + 0, 1006);
  EXPECT_EQ(header.datatype + 0, DT_FLOAT32);
  EXPECT_GT(header.sform_code + 0, 0);
  const float row[] = {2, 0, 0, 1};
  EXPECT_EQ(std::memcmp(header.srow_x, row, sizeof row), 0);
  const float expected[] = {1.5f, 2.5f, 3.5f, -0.25f, -0.25f, -0.25f, 8, 8, 8};
  for (int i = 0; i < 9; ++i) EXPECT_EQ(values[i], expected[i]) << i;
}

TEST(FieldFile, isRefusedForWhatItIsNot) {
  const TestFolder folder;
  const auto with = [](auto change) {
    nifti_1_header header = fieldHeader();
    change(header);
    return bytesOf(header, nine);
  };
  std::vector<float> lost = nine;
  lost[4] = NAN;
  std::vector<float> far = nine;
  far[8] = INFINITY;
  const std::string good = bytesOf(fieldHeader(), nine);
  const std::pair<std::string, const char*> cases[] = {
      {"{}", "not a NIfTI file"},
      {bytesOf(makeHeader(3, 1, 1, DT_FLOAT32, 32), nine), "intent 0, not 1006"},
      {with([](auto& h) { h.intent_code = NIFTI_INTENT_VECTOR; }), "intent 1007, not 1006"},
      {with([](auto& h) { h.dim[5] = 2; }), "three numbers"},
      {with([](auto& h) { h.dim[4] = 3, h.dim[5] = 1; }), "three numbers"},
      {with([](auto& h) { h.dim[0] = 4; }), "three numbers"},
      {with([](auto& h) { h.dim[0] = 6, h.dim[6] = 2; }), "three numbers"},
      {with([](auto& h) { h.dim[2] = -3; }), "-3 voxels on axis 2"},
      {with([](auto& h) { h.datatype = DT_FLOAT64; }), "FLOAT64"},
      {with([](auto& h) { h.datatype = DT_INT16; }), "INT16"},
      {with([](auto& h) { h.dim[2] = 4; }), "cut short"},
      {with([](auto& h) { h.dim[1] = h.dim[2] = h.dim[3] = 32767; }), "cut short"},
      {with([](auto& h) { h.srow_x[1] = 0; }), "no usable geometry"},
      {with([](auto& h) { h.srow_x[3] = NAN; }), "no usable geometry"},
      {with([](auto& h) { std::memcpy(h.magic, "ni1", 4); }), "hold its displacements itself"},
      {bytesOf(fieldHeader(), lost), "not finite"},
      {bytesOf(fieldHeader(), far), "not finite"},
      {good.substr(0, 200), "not a NIfTI file"},
      {good.substr(0, good.size() - 1), "cut short"}};
  for (const auto& [bytes, fault] : cases) {
    writeFile(folder.file("bad.nii"), bytes);
    try {
      (void)host::readTransform(folder.file("bad.nii"));
      ADD_FAILURE() << fault;
    } catch (const host::HostError& error) {
      EXPECT_EQ(error.exitCode, 2);
      EXPECT_NE(std::string(error.what()).find(fault), std::string::npos) << error.what();
    }
  }
  host::OutputFiles outputs;
  DisplacementMap broken = someField(1.0f);
  broken.field.values[0] = NAN;
  EXPECT_THROW(host::writeField(outputs, folder.file("t.nii"), broken), host::HostError);
  EXPECT_THROW(host::writeTransform(outputs, folder.file("t.nii"), Transform()), host::HostError);
  EXPECT_THROW(
      host::writeTransform(outputs, folder.file("t.json"), Transform::fromField(someField(1.0f))),
      host::HostError);
}

}  // namespace
