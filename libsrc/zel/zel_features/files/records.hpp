// The records of the feature layer's files, written down once: their fields in file order, for any
// walker.
#ifndef ZEL_FEATURES_FILES_RECORDS_HPP
#define ZEL_FEATURES_FILES_RECORDS_HPP

#include <cstdint>

#include "zel_features/files/walk.hpp"
#include "zel_features/program/zel_program.hpp"
#include "zel_features/zel_feature_types.h"
#include "zel_features/zel_parameter.h"

namespace zel {

// The bytes that an entry of a list takes at least.
inline constexpr int minEntrySize = 12;

// The characters of the identifier, with its terminator.
inline constexpr int identifierSize = 19;

template <class Walker>
void walkIdentifier(Walker& w, char (&identifier)[identifierSize])
{
    w.array("identifier", identifier, identifierSize);
}

template <class Walker>
void walkEntry(Walker& w, CommandListStruct& entry)
{
    if (w.present("label", entry.Label)) w.string("label", entry.Label);
    if (w.present("condition", entry.Condition)) w.expression("condition", entry.Condition);
    if (w.present("action", entry.Action)) w.expression("action", entry.Action);
}

// The definitions are the names that expressions may use. With null the first entry has none, and
// the others have those before them, with what the list held already.
template <class Walker>
void walkList(Walker& w, CommandStruct& list, const CommandListStruct* definitions)
{
    const int entries = w.count("entries", list.num, minEntrySize);
    CommandListStruct* entry = list.ListHead;
    for (int i = 0; i < entries; ++i) {
        w.setDefinitions(definitions || i == 0 ? definitions : list.ListHead);
        if constexpr (Walker::reads) entry = allocateNewCommand(&list);
        walkEntry(w, *entry);
        entry = entry->next;
    }
}

template <class Walker>
void walkInputs(Walker& w, IOStruct& io)
{
    const int inputs = w.count("input files", io.numInputFiles, minStringSize);
    InputStruct* input = io.inputListHead;
    for (int i = 0; i < inputs; ++i) {
        if constexpr (Walker::reads) input = allocateNewInput(&io);
        w.string("input file name", input->Filename);
        input = input->next;
    }
}

template <class Walker, class Classes>
void walkClassCounts(Walker& w, Classes& classes)
{
    w.array("class counts", classes.Count, ZEL_FEATURE_NUM_CLASSES);
}

template <class Walker>
void walkClass(Walker& w, ZELClassStruct& classes, int i)
{
    w.string("class name", classes.name[i]);
    w.field("class red", classes.Red[i]);
    w.field("class green", classes.Green[i]);
    w.field("class blue", classes.Blue[i]);
}

template <class Walker, class Info>
void walkRanges(Walker& w, Info& info, int features)
{
    w.array("feature maxima", info.Max, features);
    w.array("feature minima", info.Min, features);
}

// A header after its identifier, up to the feature ranges.
template <class Walker>
void walkHeader(Walker& w, ZELParameterStruct& p)
{
    w.string("version", p.Header.VersionNumber);
    w.setVersion(p.Header.VersionNumber);
    w.string("date", p.Header.DateTimeString);
    w.string("output file name", p.IO.outputFilename);
    walkInputs(w, p.IO);
    w.place(p.ClassOffset);
    walkClassCounts(w, p.ClassInfo);
    for (int i = 0; i < ZEL_FEATURE_NUM_CLASSES; ++i) walkClass(w, p.ClassInfo, i);
    walkList(w, p.Conditions, nullptr);
    walkList(w, p.Features, p.Conditions.ListHead);
}

// A header from the feature ranges on.
template <class Walker>
void walkHeaderEnd(Walker& w, ZELParameterStruct& p)
{
    w.place(p.FeatureOffset);
    walkRanges(w, p.FeatureInfo, p.Features.num);
    const CommandListStruct* definitions = p.Conditions.ListHead;
    walkList(w, p.Requirements, definitions);
    walkList(w, p.Filters, definitions);
    walkList(w, p.Comments, definitions);
    walkList(w, p.Title, definitions);
    if (w.since(111)) walkList(w, p.Options, definitions);
    w.field("random seed", p.RandomSeed);
    w.field("subsampling method", p.SubSamplingMethod);
    w.field("class type", p.ClassType);
    w.field("data type", p.DataType);
}

// The text of a pixel program; lines are counted from 1 when it is read.
template <class Walker, class Line>
void walkProgramText(Walker& w, Line*& first, int numLines)
{
    const int lines = w.count("program lines", numLines, minStringSize);
    Line* line = first;
    for (int i = 0; i < lines; ++i) {
        if constexpr (Walker::reads) line = appendProgramLine(first, line, i + 1);
        w.string("program line", line->text);
        if constexpr (!Walker::reads) line = line->next;
    }
}

// A sample up to its feature values.
template <class Walker>
constexpr void walkSample(Walker& w, std::int32_t& classNumber, ZELPixelStruct& p)
{
    w.field("class", classNumber);
    w.field("elementary class", p.ElementaryClass);
    w.field("lat", p.lat);
    w.field("lon", p.lon);
    w.field("sz", p.sz);
    w.field("vz", p.vz);
    w.field("az", p.az);
    w.field("box index", p.BoxIndex);
    w.field("priority", p.Priority);
    w.field("jday", p.jday);
    w.field("year", p.year);
}

constexpr int sampleHeadSize()
{
    ZELPixelStruct pixel{};
    std::int32_t classNumber = 0;
    LayoutSize size;
    walkSample(size, classNumber, pixel);
    return static_cast<int>(size.bytes());
}
static_assert(sampleHeadSize() == 44);

constexpr int sampleLength(int features)
{
    return sampleHeadSize() + static_cast<int>(sizeof(float)) * features;
}

}  // namespace zel

#endif
