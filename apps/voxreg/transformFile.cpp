#include "transformFile.h"

#include <cstdio>
#include <memory>

#include "OutputFile.h"

namespace host {

namespace {

using File = std::unique_ptr<std::FILE, decltype([](std::FILE* file) { std::fclose(file); })>;

void writeMatrix(std::FILE* file, const char* name, const NmMat4d& matrix) {
  std::fprintf(file, "  \"%s\": [", name);
  for (int row = 0; row < 4; ++row)
    std::fprintf(file, "%s[%.9g, %.9g, %.9g, %.9g]", row == 0 ? "" : ", ", matrix.m[row][0],
                 matrix.m[row][1], matrix.m[row][2], matrix.m[row][3]);
  std::fprintf(file, "],\n");
}

void writeVertices(std::FILE* file, const NmDArray<double>& vertices) {
  std::fprintf(file, "  \"vertices\": [");
  for (long i = 0; i + 2 < vertices.size; i += 3)
    std::fprintf(file, "%s\n    [%.9g, %.9g, %.9g]", i == 0 ? "" : ",", vertices[i],
                 vertices[i + 1], vertices[i + 2]);
  std::fprintf(file, "\n  ]\n");
}

}  // namespace

void writeTransform(const std::string& path, const BrickTransform& transform,
                    const NiftiVolume& reference, const NiftiVolume& model) {
  OutputFile output(path);
  File file(std::fopen(output.partPath().c_str(), "w"));
  if (file == nullptr) output.fail();
  const NmBox3f& box = transform.box;
  std::fprintf(file.get(), "{\n  \"box\": [%.9g, %.9g, %.9g, %.9g, %.9g, %.9g],\n",
               static_cast<double>(box.xmin), static_cast<double>(box.xmax),
               static_cast<double>(box.ymin), static_cast<double>(box.ymax),
               static_cast<double>(box.zmin), static_cast<double>(box.zmax));
  std::fprintf(file.get(), "  \"bricks\": [%d, %d, %d],\n", transform.numBricks.x,
               transform.numBricks.y, transform.numBricks.z);
  writeMatrix(file.get(), "referenceToWorld", reference.frame.toWorld);
  writeMatrix(file.get(), "modelToWorld", model.frame.toWorld);
  writeVertices(file.get(), transform.vertices);
  std::fprintf(file.get(), "}\n");
  const bool failed = std::ferror(file.get()) != 0;
  if (std::fclose(file.release()) != 0 || failed) output.fail();
  output.commit();
}

}  // namespace host
