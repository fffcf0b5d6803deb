#include <voxreg.h>

#include <cstdio>

int main() {
  NmHandle<VlMemoryData> volume(new VlMemoryData(nullptr));
  if (!volume->init(NmVec3l(4, 3, 2), NmPrimType::Short, 1, true, true, true).isOk()) return 1;
  NmMat4d move;
  move.setTranslate(NmVec3d(1, 2, 3));
  std::printf("voxreg %s, %ld voxels on x\n", VOXREG_VERSION, volume->dims().x);
  return move.inverse().m[3][0] == -1.0 && volume->dims().x == 4 ? 0 : 1;
}
