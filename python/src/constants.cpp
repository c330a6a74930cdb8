// The codes of the format by the names that the library has for them, and the directory of a file.
#include "constants.hpp"

#include "library.hpp"

namespace zel_python {
namespace {

struct Constant {
    const char* name;
    int value;
};
#define ZEL_CONSTANT(name) \
    {                      \
#name, ZEL_##name  \
    }
constexpr Constant constants[] = {ZEL_CONSTANT(MAX_CHANNELS),
                                  ZEL_CONSTANT(CHANNEL_TEXT_SIZE),
                                  ZEL_CONSTANT(COMMENT_SIZE),
                                  ZEL_CONSTANT(METADATA_SIZE),
                                  ZEL_CONSTANT(LABEL_SIZE),
                                  ZEL_CONSTANT(STORED_BYTE_SCALED),
                                  ZEL_CONSTANT(STORED_UINT16_SCALED),
                                  ZEL_CONSTANT(STORED_BYTE),
                                  ZEL_CONSTANT(STORED_FLOAT),
                                  ZEL_CONSTANT(STORED_UINT16),
                                  ZEL_CONSTANT(UNITS_NONE),
                                  ZEL_CONSTANT(UNITS_KELVIN),
                                  ZEL_CONSTANT(UNITS_PERCENT_ALBEDO),
                                  ZEL_CONSTANT(UNITS_REFLECTANCE),
                                  ZEL_CONSTANT(UNITS_CELSIUS),
                                  ZEL_CONSTANT(UNITS_LUT),
                                  ZEL_CONSTANT(UNITS_DAYTIME),
                                  ZEL_CONSTANT(UNITS_RADIANCE),
                                  ZEL_CONSTANT(SENSOR_GENERIC),
                                  ZEL_CONSTANT(SENSOR_AVHRR_LAC),
                                  ZEL_CONSTANT(SENSOR_AVHRR_GAC),
                                  ZEL_CONSTANT(SENSOR_MAS),
                                  ZEL_CONSTANT(SENSOR_VIRS),
                                  ZEL_CONSTANT(SENSOR_LANDSAT_TM),
                                  ZEL_CONSTANT(SENSOR_GOES),
                                  ZEL_CONSTANT(SENSOR_MODIS),
                                  ZEL_CONSTANT(SENSOR_ASTER),
                                  ZEL_CONSTANT(SENSOR_CIRROVUE_VIRS),
                                  ZEL_CONSTANT(SENSOR_CIRROVUE_MODIS),
                                  ZEL_CONSTANT(SENSOR_LANDSAT_MSS),
                                  ZEL_CONSTANT(SENSOR_IKONOS),
                                  ZEL_CONSTANT(SENSOR_UNSUPPORTED)};
#undef ZEL_CONSTANT

}  // namespace

void addConstants(py::module_& m)
{
    for (const Constant& constant : constants) m.attr(constant.name) = constant.value;
}

py::dict readDirectory(const File& file)
{
    using namespace py::literals;
    int base = 0;
    int count = 1;
    int kind = 0;
    std::vector<int> offsets(ZEL_MAX_COMPONENTS), sizes(ZEL_MAX_COMPONENTS);
    std::vector<float> resolutions(ZEL_MAX_COMPONENTS);
    const Open open = file.open();
    callLibrary([&] {
        const Stream stream(*open);
        kind = ZELReadStreamCompositeInfo(stream.get(), file.name().c_str(), &base, &count,
                                          offsets.data(), resolutions.data(), sizes.data());
        return kind < 0 ? kind : 0;
    });
    py::list components;
    if (kind == 1)
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
            components.append(py::make_tuple(offsets[i], sizes[i]));
    else
        components.append(py::make_tuple(0, 0));
    return py::dict("is_container"_a = kind == 1, "base"_a = kind == 1 ? base : 0,
                    "components"_a = components);
}

}  // namespace zel_python
