#pragma once

#include "workflow/elastic/elasticPair.h"
#include "workflow/search/searchProgress.h"

namespace voxreg::detail {

/// Distance of the controls that the options ask for, or that suits the reference: 24 mm, or an
/// eighth of its longest side if that is less.
double elasticSpacing(const Image& reference, const ElasticOptions& options);

/// Searches a lattice over the pair's region by exact derivatives, from the identity. Voxels of the
/// reference in the region count if they are outside the mask and, for the correlation ratio,
/// within the range of values or next to such a voxel. Adds counts and time to `found`; an
/// interruption leaves the best map so far. `reference` and `model` are as the host gave them.
LatticeMap searchElasticLattice(const Image& reference, const Image& model, const ElasticPair& pair,
                                const ElasticOptions& options, SearchProgress& progress,
                                ElasticRegistration& found);

}  // namespace voxreg::detail
