// The library's store of grids, and the sun glint model.
#ifndef ZEL_BLOCKS_ANCILLARY_HPP
#define ZEL_BLOCKS_ANCILLARY_HPP

namespace zel {

// Whether this process has looked for the grids, as it does once, for the first file. Tests reset
// it.
bool& gridsWereSought();

// Ends the process (-1) when the grid was not read.
void requireGrid(int grid);

// The cell of a grid that was read.
unsigned char storedCell(int grid, float lat, float lon);

// Sun glint, 0..100, for angles in degrees, without a rule for angles that are all 0.
float sunglint(float sol_zen_deg, float view_zen_deg, float azimuth_deg);

}  // namespace zel

#endif
