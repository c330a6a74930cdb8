#include "blocks/ancillary_grids.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

namespace zel {
namespace {

constexpr const char* fileNames[numGrids] = {"owe14d.img", "fnocwat.img", "global_18.map",
                                             "fnocpt.img"};
constexpr const char* defaultDirectory = "/usr/local/zeldata/epa/";

// Where grids are looked for, in this order; the place without a variable is the default directory.
struct Place {
    const char* variable;
    const char* suffix;
};
constexpr Place places[] = {
    {"ZEL_DATA_DIR", "/epa/"}, {"EPA_DATA_DIR", "/"}, {"CC_DATA_DIR", "/epa/"}, {nullptr, "/"}};

constexpr int pathSize = 120;
constexpr int textSize = 240;

// Opens the first file of that name that a place has; path is the last one tried. A path that does
// not fit is not opened: what is left of it would name another file.
FILE* openGrid(int grid, char (&path)[pathSize])
{
    for (const Place& place : places) {
        const char* directory = place.variable ? std::getenv(place.variable) : defaultDirectory;
        if (!directory) continue;
        const int length =
            std::snprintf(path, sizeof path, "%s%s%s", directory, place.suffix, fileNames[grid]);
        if (length >= pathSize) continue;
        if (FILE* stream = std::fopen(path, "rb")) return stream;
    }
    return nullptr;
}

[[gnu::format(printf, 2, 3)]] void printFormatted(PrintText print, const char* format, ...)
{
    char text[textSize];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    print(text);
}

void reportUnreadable(int grid, const char* path, PrintText print)
{
    printFormatted(print, "cannot open file %s\n", path);
    printFormatted(print,
                   "ZELReadAncillaryFiles: Ancillary data file %s not available.  Check path.\n",
                   fileNames[grid]);
    printWhereGridBelongs(grid, print);
}

// A row or column of the grid, or -1 for a number outside it.
int cellIndex(double index, int count)
{
    return index > -1.0 && index < count ? static_cast<int>(index) : -1;
}

double igbpRow(float lat)
{
    return (90.0 - static_cast<double>(lat)) * (gridRows - 1) / 180.0;
}

double igbpColumn(float lon)
{
    const double east = static_cast<double>(lon);
    return (east < 0.0 ? east + 360.0 : east) * (gridColumns - 1) / 360.0;
}

}  // namespace

const char* gridFileName(int grid)
{
    return fileNames[grid];
}

bool readGrid(FILE* stream, unsigned char (&cells)[gridRows][gridColumns])
{
    for (auto& row : cells)
        if (std::fread(row, 1, gridColumns, stream) == 0) break;
    return !std::ferror(stream);
}

void findGrids(GridCells& cells, int (&wasRead)[numGrids], PrintText print)
{
    for (int grid = 0; grid < numGrids; ++grid) {
        char path[pathSize] = "";
        FILE* stream = openGrid(grid, path);
        if (!stream) {
            reportUnreadable(grid, path, print);
            continue;
        }
        const bool read = readGrid(stream, cells[grid]);
        if (read)
            wasRead[grid] = 1;
        else
            printFormatted(print, "ZELReadAncillaryFiles: read error on file %s: %s\n", path,
                           std::strerror(errno));
        std::fclose(stream);
    }
}

void printMissingGrid(int grid, const char* opening, PrintText print)
{
    printFormatted(print, "%s: Error: Ancillary data file %s not available.  Check path.\n",
                   opening, fileNames[grid]);
    printWhereGridBelongs(grid, print);
}

void printWhereGridBelongs(int grid, PrintText print)
{
    print("make sure environment variable ZEL_DATA_DIR is set properly\n");
    printFormatted(print, "or file %s is in directory: %s\n", fileNames[grid], defaultDirectory);
}

double gridRow(float lat)
{
    return (gridRows - 1) - (static_cast<double>(lat) + 90.0) * (gridRows - 1) / 180.0;
}

double gridColumn(float lon)
{
    return (static_cast<double>(lon) + 180.0) * (gridColumns - 1) / 360.0;
}

unsigned char gridCell(const GridCells& cells, int grid, float lat, float lon)
{
    const bool igbp = grid == igbpGrid;
    const int row = cellIndex(igbp ? igbpRow(lat) : gridRow(lat), gridRows);
    const int column = cellIndex(igbp ? igbpColumn(lon) : gridColumn(lon), gridColumns);
    return row < 0 || column < 0 ? missingCell : cells[grid][row][column];
}

bool isPosition(float lat, float lon)
{
    return !(lat < -90.0f || lat > 90.0f || lon < -180.0f || lon > 180.0f);
}

}  // namespace zel
