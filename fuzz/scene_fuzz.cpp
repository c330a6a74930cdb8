// Opening a file, plain or composite, and reading every line of it with all that follows from a
// line.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

#include "blocks/ancillary_grids.hpp"
#include "feature_support.hpp"

namespace {

namespace fs = std::filesystem;

// Reads the grids, once per process, from files of holes: what they say does not matter, only that
// positions are looked up. The files are not needed after that.
bool readGrids()
{
    const zel_fuzz::File data("data");  // its name is that of a directory
    const fs::path directory = fs::path(data.path()) / "epa";
    fs::create_directories(directory);
    for (int grid = 0; grid < zel::numGrids; ++grid) {
        const fs::path path = directory / zel::gridFileName(grid);
        std::ofstream(path, std::ios::binary).close();
        fs::resize_file(path, std::uintmax_t{zel::gridRows} * zel::gridColumns);
    }
    setenv("ZEL_DATA_DIR", data.path(), 1);
    zel_fuzz::guarded([] { ZELAncillaryReadFiles(); });
    fs::remove_all(data.path());
    return std::all_of(SuccessfullyRead, SuccessfullyRead + zel::numGrids,
                       [](int read) { return read == 1; });
}

void look(ZELType* file)
{
    float* sz = nullptr;
    float* vz = nullptr;
    float* az = nullptr;
    ZELFetchSolar(file, &sz, &vz, &az);
    float* lat = nullptr;
    float* lon = nullptr;
    ZELFetchNavigation(file, &lat, &lon);
    ZELAncillaryFetchSunglint(file);
    ZELAncillaryFetchOlsonEcosystem(file);
    ZELAncillaryFetchWaterPercentage(file);
    ZELAncillaryFetchIGBPEcosystem(file);
    ZELAncillaryFetchTerrainType(file);
}

void report(ZELType* file)
{
    static FILE* const nowhere = std::fopen("/dev/null", "w");
    ZELPrintHeaderInfo(file, nowhere);
    ZELPrintMetadata(file);
    ZELPrintLUTs(file);
    ZELPrintTables(&file->ZELHeader.TableList);
    ZELPrintHistograms(file);
}

void readAll(ZELType* file)
{
    constexpr int enough = 64;
    for (int n = 0; n < enough && ZELReadLine(file); ++n) look(file);
    if (ZELSetCurrentLine(file, 0) == 0) ZELReadLineNoScale(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool hasGrids = readGrids();
    zel_fuzz::require(hasGrids, "the grids are read");
    const zel_fuzz::File input("scene", zel_fuzz::withClassTables(data, size));
    const auto file = std::make_unique<ZELType>();
    bool open = false;
    zel_fuzz::guarded([&] {
        open = ZELOpenReadOnlyFile(file.get(), input.path()) == 0;
        if (!open) return;
        report(file.get());
        readAll(file.get());
    });
    if (file->ReadWriteFlag == ZEL_READ_ONLY)
        zel_fuzz::guarded([&] { ZELFinishReadingFile(file.get()); });
    return 0;
}
