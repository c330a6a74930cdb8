#include "support/field_values.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <string>

namespace zel_test {

namespace {

// The limits of the format reference and of the headers, by the name of the field; one more and one
// less of each is tried too. The limits of a count are also what the file has: the value it has,
// and one more and one less, is always among the values.
const std::map<std::string, std::vector<double>> limits = {
    {"base component index", {0, 1, 99}},
    {"number of components", {1, 2, 100}},
    {"component offsets", {0, 1221}},
    {"component sizes", {1, 1221}},
    {"component resolutions", {0, 1000}},
    {"VersionNumber",
     {1.00, 1.01, 1.11, 1.21, 1.31, 1.32, 1.41, 1.42, 1.51, 2.01, 2.11, 2.21, 2.3}},
    {"MaxNumChan", {1, 20, 1000}},
    {"year", {1900, 2000, 9999}},
    {"julian", {1, 365, 366}},
    {"NPixelPerLine", {1, 24, 2048, 32767}},
    {"NumNavPoints", {0, 1, 2, 51, 32767}},
    {"StartNavPoint", {0, 3, 4, 32767}},
    {"NavPointInterval", {1, 4, 32767}},
    {"DataType", {0, 3, 4, 13}},
    {"SatelliteAltitude", {0, 1}},
    {"SpatialResolution", {0, 500, 1000, 32767, 32768000}},
    {"NumDisplayLUTs", {0, 32767}},
    {"NumTables", {0, 32767}},
    {"channel NumTables", {0, 32767}},
    {"NumLUTValues", {0, 256, 32767}},
    {"NumTableValues", {0, 256, 32767}},
    {"NumHistogramBins", {0, 1, 2, 256, 32767}},
    {"SZChannelIndex", {-1, 6, 1000}},
    {"VZChannelIndex", {-1, 6, 1000}},
    {"AZChannelIndex", {-1, 6, 1000}},
    {"MetaDataType", {0, 1}},
    {"MetaDataSize", {0, 9, 20000}},
    {"ChannelPresentFlag", {0, 1}},
    {"Type", {1, 2, 3, 4, 5}},
    {"DataByteSize", {1, 2, 4, 8}},
    {"DataBitResolution", {0, 8, 32}},
    {"Units", {0, 7}},
    {"BaseChannelFlag", {0, 1}},
    {"ChannelWaveLength", {0, 3.5}},
    {"histogram presence", {0, 1}},
    {"standard histogram presence", {0, 1}},
    {"ScanTime", {0, 12, 24}},
    {"LeftPixel", {0, 3}},
    {"RightPixel", {0, 3}},
    {"NadirPixel", {0, 3}},
    {"NadirLat", {-90, 90}},
    {"NadirLon", {-180, 180}},
    {"LatBuffer", {-90, 90}},
    {"LonBuffer", {-180, 180}},
    {"number of classifiers", {0, 1, 99}},
    {"classifier level", {0, 99}},
    {"class red", {0, 255}},
    {"class green", {0, 255}},
    {"class blue", {0, 255}},
    {"mask type", {0, 1}},
    {"mask channel", {0, 999}},
    {"class type", {0, 2}},
    {"data type", {0, 13}},
};

const std::vector<double>& limitsOf(const MappedField& field)
{
    static const std::vector<double> none;
    const auto found = limits.find(field.name.substr(0, field.name.find('[')));
    return found == limits.end() ? none : found->second;
}

std::vector<Bytes> integers(const Bytes& file, const MappedField& field)
{
    const bool isSigned = field.kind == FieldKind::signedInteger;
    const int bits = static_cast<int>(8 * field.size);
    const std::int64_t largest = (std::int64_t{1} << (isSigned ? bits - 1 : bits)) - 1;
    const std::int64_t smallest = isSigned ? -largest - 1 : 0;
    const std::int64_t now = numberAt(file, field);
    std::set<std::int64_t> all = {0, 1, -1, 2, largest, largest - 1, smallest, smallest + 1};
    if (field.size > 2) all.insert({32767, 32768, 65535, 65536});
    for (const std::int64_t step : {-1, 0, 1}) {
        all.insert(now + step);
        for (const double limit : limitsOf(field)) all.insert(std::llround(limit) + step);
    }
    std::vector<Bytes> values;
    for (const std::int64_t value : all)
        if (value != now && value >= smallest && value <= largest)
            values.push_back(encoded(field, static_cast<std::uint64_t>(value)));
    return values;
}

template <class T>
std::vector<T> around(T value)
{
    constexpr T end = std::numeric_limits<T>::infinity();
    return {std::nextafter(value, -end), value, std::nextafter(value, end), value - T(1),
            value + T(1)};
}

template <class T, class Bits>
std::vector<Bytes> reals(const Bytes& file, const MappedField& field)
{
    using Limits = std::numeric_limits<T>;
    std::vector<T> all = {T(0),
                          -T(0),
                          T(1),
                          T(-1),
                          Limits::max(),
                          Limits::lowest(),
                          Limits::min(),
                          -Limits::min(),
                          Limits::denorm_min(),
                          Limits::quiet_NaN(),
                          Limits::signaling_NaN(),
                          Limits::infinity(),
                          -Limits::infinity()};
    const auto add = [&](T value) {
        const std::vector<T> more = around(value);
        all.insert(all.end(), more.begin(), more.end());
    };
    const T now = static_cast<T>(realAt(file, field));
    add(now);
    for (const double limit : limitsOf(field)) add(static_cast<T>(limit));
    std::set<Bits> distinct;
    for (const T value : all) distinct.insert(std::bit_cast<Bits>(value));
    distinct.erase(std::bit_cast<Bits>(now));
    // What a signed integer of the same bytes has at its ends, too.
    distinct.insert({Bits{1}, static_cast<Bits>(~Bits{0})});
    std::vector<Bytes> values;
    for (const Bits bits : distinct) values.push_back(encoded(field, bits));
    return values;
}

// Texts without a terminator, with printf directives, with bytes that are not characters.
std::vector<Bytes> texts(const MappedField& field)
{
    std::vector<Bytes> values;
    for (const int filler : {0x00, 0x01, 0xFF, 0x7F, int{'A'}, int{'9'}})
        values.emplace_back(field.size, static_cast<unsigned char>(filler));
    Bytes directives(field.size);
    for (std::size_t i = 0; i < field.size; ++i)
        directives[i] = static_cast<unsigned char>("%s%n%*d"[i % 7]);
    values.push_back(directives);
    return values;
}

}  // namespace

std::vector<Bytes> boundaryValues(const Bytes& file, const MappedField& field)
{
    if (field.kind == FieldKind::text) return texts(field);
    if (field.kind != FieldKind::real) return integers(file, field);
    if (field.size == 8) return reals<double, std::uint64_t>(file, field);
    return reals<float, std::uint32_t>(file, field);
}

std::string hex(const Bytes& bytes)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        if (text.size() >= 48) return text + "...";
        text += {digits[byte / 16], digits[byte % 16]};
    }
    return text;
}

}  // namespace zel_test
