// The four global grids: their files, where to look for them, and the cell under a position.
#ifndef ZEL_BLOCKS_ANCILLARY_GRIDS_HPP
#define ZEL_BLOCKS_ANCILLARY_GRIDS_HPP

#include <cstdio>

namespace zel {

inline constexpr int numGrids = 4;
inline constexpr int gridRows = 1080;     // row 0 at latitude 90
inline constexpr int gridColumns = 2160;  // column 0 at longitude -180, of the IGBP grid at 0
inline constexpr unsigned char missingCell = 255;

enum Grid { olsonGrid = 0, waterGrid = 1, igbpGrid = 2, terrainGrid = 3 };

using GridCells = unsigned char[numGrids][gridRows][gridColumns];
using PrintText = void (*)(const char* text);

const char* gridFileName(int grid);

// Fills one grid from a stream of gridRows x gridColumns bytes; cells missing from the stream stay
// as they are. False when the stream cannot be read.
bool readGrid(FILE* stream, unsigned char (&cells)[gridRows][gridColumns]);

// Looks for each grid's file and reads it, marking it in wasRead; a missing grid is reported
// through print.
void findGrids(GridCells& cells, int (&wasRead)[numGrids], PrintText print);

// The three lines that end a process which uses a missing grid; opening is the text of the first up
// to the colon before "Error".
void printMissingGrid(int grid, const char* opening, PrintText print);

// The last lines of every report of a missing grid.
void printWhereGridBelongs(int grid, PrintText print);

// The cell under a position within its bounds; missingCell for a position that is not a number.
unsigned char gridCell(const GridCells& cells, int grid, float lat, float lon);

// Row and column as real numbers, still to be truncated; the IGBP grid begins elsewhere.
double gridRow(float lat);
double gridColumn(float lon);

// Whether a position is inside its bounds; one that is not a number passes.
bool isPosition(float lat, float lon);

}  // namespace zel

#endif
