// The feature layer's store of grids.
#ifndef ZEL_FEATURES_EVALUATE_FEATURE_ANCILLARY_HPP
#define ZEL_FEATURES_EVALUATE_FEATURE_ANCILLARY_HPP

namespace zel {

// Forgets all grids and that files were looked for.
void resetFeatureGrids();

}  // namespace zel

#endif
