#pragma once

#include "variational/fields/fieldComposition.inl"
#include "variational/fields/fieldDeterminants.inl"
#include "variational/fields/fieldInverse.inl"
#include "variational/fields/fieldSamples.inl"
#include "variational/fields/fieldSmoothing.inl"

static constexpr FieldKernels makeFieldKernels() {
  return {smoothVolume, warpSliceOf, composeSliceOf, fillDeterminants, lowestValue, invertRowOf};
}
