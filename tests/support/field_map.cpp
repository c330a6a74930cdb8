#include "support/field_map.hpp"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "records/records.hpp"
#include "support/mask_text.hpp"
#include "zel_features/files/records.hpp"
#include "zel_features/zel_features.h"

namespace zel_test {

namespace {

template <class T>
constexpr FieldKind kindOf()
{
    if constexpr (std::is_floating_point_v<T>)
        return FieldKind::real;
    else if constexpr (std::is_same_v<std::remove_const_t<T>, char>)
        return FieldKind::text;
    else
        return std::is_signed_v<T> ? FieldKind::signedInteger : FieldKind::unsignedInteger;
}

// What both walkers do: note a field and go on behind it.
class Notes {
public:
    Notes(std::size_t place, bool bigEndian) : place_(place), bigEndian_(bigEndian) {}

    std::string record;
    std::vector<MappedField> fields;

    std::size_t place() const { return place_; }
    bool bigEndian() const { return bigEndian_; }
    void goTo(std::size_t place) { place_ = place; }

protected:
    template <class T>
    void note(const std::string& name, std::size_t count)
    {
        constexpr FieldKind kind = kindOf<T>();
        const bool whole = kind == FieldKind::text || count == 1;
        const std::size_t size = whole ? sizeof(T) * count : sizeof(T);
        for (std::size_t i = 0; i < (whole ? std::min<std::size_t>(count, 1) : count); ++i) {
            const std::string index = whole ? "" : "[" + std::to_string(i) + "]";
            fields.push_back({record, name + index, place_, size, kind, bigEndian_});
            place_ += size;
        }
    }

private:
    std::size_t place_;
    bool bigEndian_;
};

// For the records of a scene file. It takes the numbers along that say how many records follow.
class SceneMap : public Notes {
public:
    SceneMap(const Bytes& file, std::size_t place, bool bigEndian)
        : Notes(place, bigEndian), file_(file)
    {
    }

    bool since(int version) const { return version_ >= version; }
    void setVersion(int version) { version_ = version; }

    template <class T>
    void field(const char* name, T& value)
    {
        array(name, &value, 1);
    }
    template <std::size_t N>
    void text(const char* name, char (&buffer)[N], int width)
    {
        array(name, buffer, std::min<int>(width, static_cast<int>(N)));
    }
    template <class T>
    void array(const char* name, T* values, int count)
    {
        const std::size_t begin = place();
        note<T>(name, static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
            unsigned char bytes[sizeof(T)];
            for (std::size_t k = 0; k < sizeof(T); ++k)
                bytes[bigEndian() ? sizeof(T) - 1 - k : k] = file_.at(begin + i * sizeof(T) + k);
            std::memcpy(&values[i], bytes, sizeof(T));
        }
    }

private:
    const Bytes& file_;
    int version_ = zel::currentVersion;
};

// For the records of the feature layer, which are in memory already.
class FeatureMap : public Notes {
public:
    static constexpr bool reads = false;

    using Notes::Notes;

    bool since(int version) const { return version_ >= version; }
    void setVersion(const char* text)
    {
        version_ = static_cast<int>(std::strtod(text, nullptr) * 100.0);
    }
    void setDefinitions(const CommandListStruct*) {}
    void place(int&) {}
    using Notes::place;

    template <class T>
    void field(const char* name, const T&)
    {
        note<T>(name, 1);
    }
    template <class T>
    void array(const char* name, const T*, int count)
    {
        note<T>(name, static_cast<std::size_t>(count));
    }
    void string(const char* name, const char* text)
    {
        note<std::int32_t>(std::string("length of ") + name, 1);
        note<char>(name, std::strlen(text) + 1);
    }
    void expression(const char* name, const ZELStackStruct* stack)
    {
        string(name, stack->expression);
    }
    template <class T>
    bool present(const char* name, const T* item)
    {
        note<std::int32_t>(std::string("presence of ") + name, 1);
        return item != nullptr;
    }
    int count(const char* name, int number, int)
    {
        note<std::int32_t>(std::string("number of ") + name, 1);
        return number;
    }

private:
    int version_ = 0;
};

int linesOf(const ProgramLines* line)
{
    int count = 0;
    for (; line; line = line->next) ++count;
    return count;
}

void mapClassifier(FeatureMap& w, ZELClassifierList& c)
{
    char identifier[zel::identifierSize];
    zel::walkIdentifier(w, identifier);
    zel::walkHeader(w, *c.Parameters);
    zel::walkHeaderEnd(w, *c.Parameters);
    w.count("classifier bytes", c.ClassifierByteCount, 1);
    w.field("classifier type", c.ClassifierType);
    w.field("classifier level", c.ClassifierLevel);
    w.array("classifier", reinterpret_cast<char*>(c.Classifier), c.ClassifierByteCount);
}

void mapMaskBlock(FeatureMap& w, ZELFeatureMaskType& m)
{
    ZELMaskParameterType& p = m.MaskParameters;
    CommandStruct none{};
    CommandStruct& conditions = p.FilterConditions ? *p.FilterConditions : none;
    w.count("classifiers", m.numClassifiers, 0);
    w.string("mask identifier", m.Header.IdentifierString);
    w.field("mask channel", m.ZELChannelIndex);
    w.string("mask version", m.Header.VersionNumber);
    w.string("mask date", m.Header.DateTimeString);
    w.string("mask channel label", m.ZELChannelLabel);
    w.string("mask channel comment", m.ZELChannelComment);
    zel::walkList(w, conditions, nullptr);
    zel::walkList(w, p.PreClassFilters, conditions.ListHead);
    zel::walkList(w, p.PostClassFilters, conditions.ListHead);
    for (ProgramLines* program : {p.PreProcessProgramTextHead, p.PostProcessProgramTextHead})
        zel::walkProgramText(w, program, linesOf(program));
    w.field("mask type", p.MaskType);
    zel::walkList(w, p.Title, conditions.ListHead);
    zel::walkList(w, p.Comments, conditions.ListHead);
    for (ZELClassifierList* c = m.ClassifierListHead; c; c = c->next) mapClassifier(w, *c);
}

// The block begins at the walker's place.
void mapMask(SceneMap& w, const Bytes& file)
{
    const ReadMask read(Bytes(file.begin() + static_cast<long>(w.place()), file.end()));
    FeatureMap map(w.place(), true);
    map.record = w.record;
    if (read.mask)
        mapMaskBlock(map, *read.mask);
    else
        map.count("classifiers", 0, 0);
    w.fields.insert(w.fields.end(), map.fields.begin(), map.fields.end());
    w.goTo(map.place());
}

void mapLUTs(SceneMap& w, int count)
{
    for (int i = 0; i < count; ++i) {
        w.record = "LUT " + std::to_string(i);
        ZELDisplayLUTType lut{};
        zel::walkLUT(w, lut);
        for (int k = 0; k < lut.NumLUTValues; ++k) {
            ZELLUTType entry{};
            zel::walkLUTEntry(w, entry);
        }
    }
}

void mapTables(SceneMap& w, const std::string& owner, int count)
{
    for (int i = 0; i < count; ++i) {
        w.record = owner + "table " + std::to_string(i);
        TableType table{};
        zel::walkTable(w, table);
        std::vector<float> values(static_cast<std::size_t>(table.NumTableValues));
        w.array("value", values.data(), table.NumTableValues);
    }
}

void mapHistogram(SceneMap& w, const char* name)
{
    unsigned char present = 0;
    w.field(name, present);
    if (!present) return;
    ZELHistogramType histogram{};
    zel::walkHistogram(w, histogram);
    std::vector<std::int32_t> counts(static_cast<std::size_t>(histogram.NumHistogramBins));
    w.array("histogram counts", counts.data(), histogram.NumHistogramBins);
}

void mapChannel(SceneMap& w, const Bytes& file, int slot, ZELChannelType& channel)
{
    const std::string name = "channel " + std::to_string(slot);
    w.record = name;
    zel::walkChannel(w, channel);
    if (w.since(141)) mapMask(w, file);
    if (w.since(211)) {
        std::int16_t tables = 0;
        w.field("channel NumTables", tables);
        mapTables(w, name + " ", tables);
        w.record = name;
    }
    if (w.since(121)) {
        mapHistogram(w, "histogram presence");
        mapHistogram(w, "standard histogram presence");
    }
}

void mapHeader(SceneMap& w, ZELHeaderType& h)
{
    w.record = "header";
    zel::walkVersion(w, h);
    const int version = zel::layoutVersion(h.VersionNumber);
    w.setVersion(version);
    if (!w.since(101)) h.MaxNumChan = 20;
    if (!w.since(111)) h.NumNavPoints = 51;
    zel::walkHeader(w, h);
    mapLUTs(w, h.NumDisplayLUTs);
    mapTables(w, "", h.TableList.NumTables);
    w.record = "header";
    zel::walkHeaderEnd(w, h);
}

template <class T>
void mapRow(SceneMap& w, const std::string& name, int pixels)
{
    std::vector<T> row(static_cast<std::size_t>(pixels));
    w.array(name.c_str(), row.data(), pixels);
}

void mapPixels(SceneMap& w, const ZELChannelType& channel, const std::string& name, int pixels)
{
    if (channel.Type == ZEL_STORED_FLOAT)
        mapRow<float>(w, name, pixels);
    else if (channel.DataByteSize == 2)
        mapRow<std::uint16_t>(w, name, pixels);
    else
        mapRow<std::uint8_t>(w, name, pixels);
}

void mapLine(SceneMap& w, ZELType& f)
{
    const auto points = static_cast<std::size_t>(f.ZELHeader.NumNavPoints);
    std::vector<float> lat(points);
    std::vector<float> lon(points);
    f.LatBuffer = lat.data();
    f.LonBuffer = lon.data();
    zel::walkScan(w, f);
    zel::walkNavigation(w, f);
    for (int i = 0; i < f.ZELHeader.MaxNumChan; ++i)
        if (f.Channels[i].ChannelPresentFlag)
            mapPixels(w, f.Channels[i], "pixels of " + std::to_string(i),
                      f.ZELHeader.NPixelPerLine);
}

}  // namespace

FieldMap mapFields(const Bytes& file, std::size_t start, std::size_t end, bool bigEndian,
                   std::size_t padding)
{
    SceneMap w(file, start, bigEndian);
    const auto record = zeroRecord();
    if (file.at(start) == 'Z') {
        w.record = "prefix";
        zel::Prefix prefix{};
        zel::walkPrefix(w, prefix);
    }
    mapHeader(w, record->ZELHeader);
    for (int i = 0; i < record->ZELHeader.MaxNumChan; ++i)
        mapChannel(w, file, i, record->Channels[i]);
    FieldMap map;
    map.linesBegin = w.place();
    w.goTo(w.place() + padding);
    for (int n = 0; w.place() < end; ++n) {
        w.record = "line " + std::to_string(n);
        mapLine(w, *record);
    }
    map.end = w.place();
    map.fields = std::move(w.fields);
    return map;
}

Bytes encoded(const MappedField& field, std::uint64_t bits)
{
    Bytes bytes;
    for (std::size_t i = 0; i < field.size; ++i)
        bytes.push_back(static_cast<unsigned char>(bits >> 8 * i));
    if (field.bigEndian) std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

static std::uint64_t bitsAt(const Bytes& file, const MappedField& field)
{
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < field.size; ++i) {
        const std::size_t place = field.bigEndian ? field.size - 1 - i : i;
        bits |= std::uint64_t{file.at(field.offset + place)} << 8 * i;
    }
    return bits;
}

std::int64_t numberAt(const Bytes& file, const MappedField& field)
{
    const std::uint64_t bits = bitsAt(file, field);
    if (field.kind == FieldKind::unsignedInteger) return static_cast<std::int64_t>(bits);
    const auto unused = static_cast<int>(64 - 8 * field.size);
    return static_cast<std::int64_t>(bits << unused) >> unused;
}

double realAt(const Bytes& file, const MappedField& field)
{
    const std::uint64_t bits = bitsAt(file, field);
    if (field.size == 8) return std::bit_cast<double>(bits);
    return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
}

}  // namespace zel_test
