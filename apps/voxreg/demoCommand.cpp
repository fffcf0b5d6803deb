#include "demoCommand.h"

#include <memory>
#include <string>

#include "OutputFile.h"
#include "Phantom.h"
#include "affineRegistration.h"
#include "matrixFile.h"
#include "picture.h"
#include "report.h"
#include "resampled.h"
#include "targetError.h"

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

int runDemo(const std::string& folder) {
  makeFolder(folder);
  const auto file = [&](const char* name) { return folder + "/" + name; };
  const NmMat4d truth = movement();
  const Phantom phantom(seed);
  const NiftiVolume reference = acquire(phantom, size, {NmMat4d(), 1.0, 0.01, 1});
  const NiftiVolume model = acquire(phantom, size, {truth, 1.0, 0.01, 2});
  writeNifti(file("reference.nii.gz"), reference);
  writeNifti(file("model.nii.gz"), model);
  writeMatrix(file("truth.txt"), truth);

  AffineSettings settings;
  settings.stages = stagesFor(6);
  InterruptibleProgress progress;
  const AffineResult result = registerAffine(reference, model, settings, progress);
  writeMatrix(file("matrix.txt"), result.matrix);
  writeNifti(file("registered.nii.gz"), resampled(reference, model, result.matrix));
  writePicture(
      file("registration.png"), reference, model,
      {placeMap(settings.start, reference, model), placeMap(result.matrix, reference, model)});
  printSearch(result.metric, result.seconds, result.interrupted);
  printTargetError("target error before", targetError(reference, settings.start, truth));
  printTargetError("target error after", targetError(reference, result.matrix, truth));
  return progress.wasInterrupted() ? interruptedExitCode : 0;
}

}  // namespace

void addDemoCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command = app.add_subcommand("demo", "Register a moved head phantom");
  const auto folder = std::make_shared<std::string>();
  command->add_option("folder", *folder, "Where to write")->required();
  command->callback([folder, &exitCode] { exitCode = runDemo(*folder); });
}

}  // namespace host
