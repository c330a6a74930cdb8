// The pixel variables: their names, their fields in a pixel record and in a line, and the
// process-wide table that binds the names to one pixel record.
#ifndef ZEL_FEATURES_LANGUAGE_VARIABLES_HPP
#define ZEL_FEATURES_LANGUAGE_VARIABLES_HPP

#include "zel_features/zel_feature_types.h"

namespace zel {

struct VariableRow {
    int index;
    const char* name;
    float ZELPixelStruct::*field;
    float* ZELLineStruct::*row;
};

// Several names may stand for one field; compiled expressions keep the index.
inline constexpr VariableRow variableRows[] = {
    {0, "class", &ZELPixelStruct::Class, &ZELLineStruct::Class},
    {1, "sz", &ZELPixelStruct::sz, &ZELLineStruct::sz},
    {2, "solar_zenith", &ZELPixelStruct::sz, &ZELLineStruct::sz},
    {3, "vz", &ZELPixelStruct::vz, &ZELLineStruct::vz},
    {4, "viewing_zenith", &ZELPixelStruct::vz, &ZELLineStruct::vz},
    {5, "az", &ZELPixelStruct::az, &ZELLineStruct::az},
    {6, "azimuth", &ZELPixelStruct::az, &ZELLineStruct::az},
    {7, "sg", &ZELPixelStruct::sg, &ZELLineStruct::sg},
    {8, "sunglint", &ZELPixelStruct::sg, &ZELLineStruct::sg},
    {9, "lat", &ZELPixelStruct::lat, &ZELLineStruct::lat},
    {10, "latitude", &ZELPixelStruct::lat, &ZELLineStruct::lat},
    {11, "lon", &ZELPixelStruct::lon, &ZELLineStruct::lon},
    {12, "longitude", &ZELPixelStruct::lon, &ZELLineStruct::lon},
    {13, "olson_eco", &ZELPixelStruct::olsonEco, &ZELLineStruct::olsonEco},
    {14, "igbp_eco", &ZELPixelStruct::igbpEco, &ZELLineStruct::igbpEco},
    {15, "percent_water", &ZELPixelStruct::percentWater, &ZELLineStruct::percentWater},
    {16, "terrain", &ZELPixelStruct::terrain, &ZELLineStruct::terrain},
    {17, "julian_day", &ZELPixelStruct::jday, &ZELLineStruct::jday},
    {18, "year", &ZELPixelStruct::year, &ZELLineStruct::year},
};

constexpr bool variableRowsAreInOrder()
{
    int i = 0;
    for (const VariableRow& row : variableRows)
        if (row.index != i++) return false;
    return i == ZEL_FEATURE_NUM_VARIABLES;
}
static_assert(variableRowsAreInOrder());

// The first name of the field that a variable stands for.
constexpr int firstNameOf(int index)
{
    int first = 0;
    while (variableRows[first].field != variableRows[index].field) ++first;
    return first;
}

constexpr bool isVariable(int index)
{
    return index >= 0 && index < ZEL_FEATURE_NUM_VARIABLES;
}

// The module's state: the table is built when the first operand is compiled, and bound when the
// first expression is evaluated.
struct VariableState {
    VariableStruct* table = nullptr;
    bool bound = false;
};

VariableState& variableState();

// Builds the table unless that was done, and returns it. Ends the process (-1) when memory fails.
VariableStruct* defineVariables();

// Binds the table to the fields of a record, unless it is bound.
void bindVariables(ZELPixelStruct& pixel);

// Forgets the binding and the table.
void resetVariables();

}  // namespace zel

#endif
