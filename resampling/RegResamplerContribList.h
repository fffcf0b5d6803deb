#pragma once

/// One weighted input position of an output position along an axis.
struct RegResamplerContrib {
  int pixel;
  float weight;
};

/// All weighted input positions of one output position. The memory is from calloc.
struct RegResamplerContribList {
  int n;
  RegResamplerContrib* taps;
};
