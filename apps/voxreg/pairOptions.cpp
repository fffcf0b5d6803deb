#include "pairOptions.h"

#include "GreyImage.h"
#include "niftiVolume.h"

namespace host {

void addPairOptions(CLI::App& command, PairFiles& files) {
  command.add_option("--reference", files.reference, "Volume that stays (NIfTI)")->required();
  command.add_option("--model", files.model, "Volume to move (NIfTI)")->required();
  command.add_option("--output", files.output, "Model on the reference's grid (.nii, .nii.gz)")
      ->required();
  command
      .add_option("--picture", files.picture,
                  "Middle slices before and after, the patient's left on the left (.png)")
      ->required();
}

void requireWritable(const PairFiles& files) {
  requireWritableNifti(files.output);
  requireWritablePicture(files.picture);
}

}  // namespace host
