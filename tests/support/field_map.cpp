#include "support/field_map.hpp"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <deque>
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

// What both walkers do: note a field and go on after it.
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

// The fields of the mask block at that place of a file.
FeatureMap mapMask(const Bytes& file, std::size_t place, const std::string& record)
{
    const ReadMask read(Bytes(file.begin() + static_cast<long>(place), file.end()));
    FeatureMap map(place, true);
    map.record = record;
    if (read.mask)
        mapMaskBlock(map, *read.mask);
    else
        map.count("classifiers", 0, 0);
    return map;
}

// For the records of a scene file. It also stores the numbers that say what follows.
class SceneMap : public Notes {
public:
    SceneMap(const Bytes& file, std::size_t place, bool bigEndian)
        : Notes(place, bigEndian), file_(file)
    {
    }

    bool since(int version) const { return version_ >= version; }
    void setVersion(int version) { version_ = version; }
    void record(zel::Level level, const char* name, int index = -1)
    {
        names_.resize(static_cast<std::size_t>(level));
        names_.push_back(name + (index < 0 ? "" : " " + std::to_string(index)));
        Notes::record.clear();
        for (const std::string& part : names_)
            Notes::record += (Notes::record.empty() ? "" : " ") + part;
    }

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

    void items(ZELDisplayLUTType& lut) { lut.DisplayLUT = memory<ZELLUTType>(lut.NumLUTValues); }
    void items(TableType& table) { table.Table = memory<float>(table.NumTableValues); }
    void items(ZELHistogramType& h) { h.Histogram = memory<std::int32_t>(h.NumHistogramBins); }

    void counts(ZELType&) {}
    void luts(ZELType& file)
    {
        for (int i = 0; i < file.ZELHeader.NumDisplayLUTs; ++i) {
            record(zel::Level::block, "LUT", i);
            zel::walkLUT(*this, *memory<ZELDisplayLUTType>(1));
        }
    }
    void tables(TableListType& list)
    {
        for (int i = 0; i < list.NumTables; ++i) {
            record(zel::Level::block, "table", i);
            zel::walkTable(*this, *memory<TableType>(1));
        }
    }
    void channel(const ZELChannelType&) {}
    void mask(const ZELChannelType&)
    {
        const FeatureMap map = mapMask(file_, place(), Notes::record);
        fields.insert(fields.end(), map.fields.begin(), map.fields.end());
        goTo(map.place());
    }
    void histogram(const ZELType&, ZELHistogramType*&)
    {
        zel::walkHistogram(*this, *memory<ZELHistogramType>(1));
    }
    void slot(ZELType&, int) {}
    bool repeats(ZELType&, int) { return false; }

    void pixels(const ZELType& file, int slot)
    {
        const ZELChannelType& channel = file.Channels[slot];
        const int count = file.ZELHeader.NPixelPerLine;
        const std::string name = "pixels of " + std::to_string(slot);
        if (channel.Type == ZEL_STORED_FLOAT)
            array(name.c_str(), memory<float>(count), count);
        else if (channel.DataByteSize == 2)
            array(name.c_str(), memory<std::uint16_t>(count), count);
        else
            array(name.c_str(), memory<std::uint8_t>(count), count);
    }

private:
    // Zeros that last as long as the walker.
    template <class T>
    T* memory(int count)
    {
        memory_.emplace_back((static_cast<std::size_t>(count) + 1) * sizeof(T));
        return reinterpret_cast<T*>(memory_.back().data());
    }

    const Bytes& file_;
    int version_ = zel::currentVersion;
    std::vector<std::string> names_;
    std::deque<std::vector<unsigned char>> memory_;
};

// What comes before the other fields of the header, and what old versions leave out.
void beginHeader(SceneMap& w, ZELHeaderType& h)
{
    const std::size_t begin = w.place();
    zel::walkVersion(w, h);
    w.fields.pop_back();
    w.goTo(begin);
    w.setVersion(zel::layoutVersion(h.VersionNumber));
    if (!w.since(101)) h.MaxNumChan = 20;
    if (!w.since(111)) h.NumNavPoints = 51;
}

}  // namespace

FieldMap mapFields(const Bytes& file, std::size_t start, std::size_t end, bool bigEndian,
                   std::size_t padding)
{
    SceneMap w(file, start, bigEndian);
    const auto record = zeroRecord();
    if (file.at(start) == 'Z') {
        zel::Prefix prefix{};
        zel::walkPrefix(w, prefix);
    }
    beginHeader(w, record->ZELHeader);
    zel::walkFile(w, *record);
    FieldMap map;
    map.linesBegin = w.place();
    w.goTo(w.place() + padding);
    std::vector<float> lat(static_cast<std::size_t>(record->ZELHeader.NumNavPoints));
    std::vector<float> lon(lat.size());
    record->LatBuffer = lat.data();
    record->LonBuffer = lon.data();
    for (int n = 0; w.place() < end; ++n) {
        w.record(zel::Level::record, "line", n);
        zel::walkLine(w, *record);
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
