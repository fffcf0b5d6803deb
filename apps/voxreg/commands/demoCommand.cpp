#include "commands/demoCommand.h"

#include <cstdio>
#include <memory>
#include <string>

#include "commands/report.h"
#include "commands/targetError.h"
#include "files/OutputFiles.h"
#include "files/matrixFile.h"
#include "files/resampled.h"
#include "files/subtraction.h"
#include "files/transformFile.h"
#include "phantoms/Phantom.h"
#include "phantoms/chestTruth.h"
#include "pictures/elasticPicture.h"
#include "pictures/picture.h"
#include "terminal/HostError.h"
#include "terminal/InterruptibleProgress.h"

namespace host {

namespace {

constexpr int size = 96;
constexpr unsigned int seed = 7;

/// Model world to reference world: three angles in degrees and a translation in millimetres.
NmMat4d movement() {
  NmDVector<double> parameters;
  for (const double value : {6.0, -4.0, 5.0, 7.0, -5.0, 9.0})
    parameters.insert(parameters.size, 1, &value);
  NmMat4d matrix;
  RegTools::composeMatrix(parameters, matrix);
  return matrix;
}

/// Registers a head phantom and a moved copy of it with a rigid matrix.
void registerHead(OutputFiles& outputs, const std::string& folder,
                  InterruptibleProgress& progress) {
  const auto file = [&](const char* name) { return folder + "/" + name; };
  const NmMat4d truth = movement();
  const Phantom phantom(seed);
  const NiftiVolume reference = acquire(phantom, size, {NmMat4d(), 1.0, 0.01, 1});
  const NiftiVolume model = acquire(phantom, size, {truth, 1.0, 0.01, 2});
  writeNifti(outputs, file("reference.nii.gz"), reference);
  writeNifti(outputs, file("model.nii.gz"), model);
  writeMatrix(outputs, file("truth.txt"), truth);

  voxreg::AffineOptions options;
  options.degreesOfFreedom = 6;
  options.startRule = voxreg::StartRule::header;
  options.progress = progress.ofRegistration("Registering");
  const voxreg::Registration found = voxreg::registerAffine(reference.image, model.image, options);
  const NmMat4d matrix = found.transform.modelToReference().value_or(NmMat4d());
  writeMatrix(outputs, file("matrix.txt"), matrix);
  writeNifti(outputs, file("registered.nii.gz"), resampled(reference, model, found.transform));
  writePicture(outputs, file("registration.png"), reference, model, {{}, found.transform});
  progress.wipe();
  printSearch(found.metricAfter, found.seconds, found.interrupted);
  printPlaceError("target error before", targetError(reference, NmMat4d(), truth));
  printPlaceError("target error after", targetError(reference, matrix, truth));
}

void printLesion(const std::string& name, const LesionContrast& contrast) {
  std::printf("%-24s %.0f, %.0f around it\n", name.c_str(), contrast.uptake, contrast.residual);
}

/// Registers a chest before contrast agent, and after it with the breasts sagged, with a
/// lattice.
void registerChest(OutputFiles& outputs, const std::string& folder,
                   InterruptibleProgress& progress) {
  const auto file = [&](const char* name) { return folder + "/" + name; };
  progress.enter("Making the chest");
  const NmVec3l dims(256, 256, 64);
  const ChestPhantom phantom(seed);
  const ChestMotion motion(phantom, seed);
  const NiftiVolume reference = chestBefore(phantom, dims, 1);
  const NiftiVolume model = chestAfter(phantom, motion, dims, 2);
  writeNifti(outputs, file("chest-before.nii.gz"), reference);
  writeNifti(outputs, file("chest-after.nii.gz"), model);

  voxreg::ElasticOptions options;
  options.progress = progress.ofRegistration("Registering");
  const voxreg::ElasticRegistration found =
      voxreg::registerElastic(reference.image, model.image, options);
  if (!found) throw HostError(found.reason.message, HostError::failedRun);
  progress.enter("Writing");
  const ElasticVolumes volumes = elasticVolumes(reference, model, found.transform,
                                                {voxreg::Interpolation::lanczos, std::nullopt});
  writeTransform(outputs, file("chest-motion.json"), found.transform);
  writeNifti(outputs, file("chest-registered.nii.gz"), volumes.registered);
  writeNifti(outputs, file("chest-subtraction.nii.gz"), volumes.subtraction);
  writeElasticPicture(outputs, file("chest.png"), volumes, found.mask);
  progress.wipe();
  printElastic(found);
  printSearch(std::nullopt, found.seconds, found.interrupted);
  const std::vector<PointPair> truth = chestTruth(phantom, motion, reference);
  printPlaceError("displacement before", displacementError({}, truth));
  printPlaceError("displacement after", displacementError(found.transform, truth));
  printLesion("lesion before", lesionContrast(phantom, subtraction(model, reference)));
  printLesion("lesion after", lesionContrast(phantom, volumes.subtraction));
}

int runDemo(const std::string& folder) {
  makeFolder(folder);
  InterruptibleProgress progress({{"Making the head", 3.0},
                                  {"Registering", 3.0},
                                  {"Making the chest", 20.0},
                                  {"Registering", 6.0},
                                  {"Writing", 14.0}});
  OutputFiles outputs;
  registerHead(outputs, folder, progress);
  if (!progress.wasInterrupted()) registerChest(outputs, folder, progress);
  outputs.commit();
  progress.finish();
  return progress.wasInterrupted() ? interruptedExitCode : 0;
}

}  // namespace

void addDemoCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command =
      app.add_subcommand("demo", "Register a moved head phantom and a chest phantom");
  const auto folder = std::make_shared<std::string>();
  command->add_option("folder", *folder, "Folder to write to")->required();
  command->callback([folder, &exitCode] { exitCode = runDemo(*folder); });
}

}  // namespace host
