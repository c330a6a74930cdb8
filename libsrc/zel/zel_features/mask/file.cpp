#include "zel_features/mask/file.hpp"

#include <cerrno>
#include <cstring>

#include "ground/memory.hpp"
#include "zel_features/files/records.hpp"
#include "zel_features/files/zel_feature_header.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/mask/zel_feature_mask.hpp"
#include "zel_features/parameters/zel_parameter.hpp"
#include "zel_features/zel_parameter.h"
#include "zel_features/zel_program.h"
#include "zel_features/zel_program_file.h"

namespace {

constexpr const char* maskIdentifier = "ZEL_MASK";
constexpr const char* maskVersion = "1.2";

// The fewest bytes of a classifier's header, and of the header with the classifier after it.
constexpr int minHeaderSize = zel::identifierSize + 3 * zel::minStringSize +
                              ZEL_FEATURE_NUM_CLASSES * (16 + zel::minStringSize) + 11 * 4;
constexpr int minClassifierSize = minHeaderSize + 8;

// ---- A mask's records, in file order ----

template <class Walker>
void walkMaskHeader(Walker& w, ZELFeatureMaskType& m)
{
    w.field("mask channel", m.ZELChannelIndex);
    w.string("mask version", m.Header.VersionNumber);
    w.setVersion(m.Header.VersionNumber);
    w.string("mask date", m.Header.DateTimeString);
    w.string("mask channel label", m.ZELChannelLabel);
    w.string("mask channel comment", m.ZELChannelComment);
}

void setCheck(zel::FeatureReader& reader, bool check)
{
    reader.setCheck(check);
}

void setCheck(zel::FeatureWriter&, bool) {}

// Class lists have any number of values: they are compiled without the check.
template <class Walker>
void walkFilters(Walker& w, ZELMaskParameterType& p, CommandStruct& conditions)
{
    zel::walkList(w, conditions, nullptr);
    setCheck(w, false);
    zel::walkList(w, p.PreClassFilters, conditions.ListHead);
    setCheck(w, true);
    zel::walkList(w, p.PostClassFilters, conditions.ListHead);
}

template <class Walker>
void walkMaskEnd(Walker& w, ZELMaskParameterType& p, const CommandListStruct* definitions)
{
    if (w.since(111)) w.field("mask type", p.MaskType);
    zel::walkList(w, p.Title, definitions);
    zel::walkList(w, p.Comments, definitions);
}

// What follows a classifier's header; the level came with version 1.11 of that header.
template <class Walker>
void walkClassifier(Walker& w, ZELClassifierList& c, int& byteCount)
{
    byteCount = w.count("classifier bytes", byteCount, 1);
    w.field("classifier type", c.ClassifierType);
    if (w.since(111)) w.field("classifier level", c.ClassifierLevel);
}

// ---- Reading ----

// The identifier comes after the count, but a count means nothing in a file of another kind.
void readIdentifier(zel::FeatureReader& reader, ZELFeatureMaskType& mask)
{
    reader.string("mask identifier", mask.Header.IdentifierString);
    if (std::strcmp(mask.Header.IdentifierString, maskIdentifier) == 0) return;
    errno = 0;  // nothing that the system refused
    zel::failWithError("Error:  file does not contain a ZEL mask\n");
}

void readPrograms(zel::FeatureReader& reader, ZELMaskParameterType& p,
                  const CommandListStruct* definitions)
{
    if (!reader.since(101)) return;
    zel::walkProgramText(reader, p.PreProcessProgramTextHead, 0);
    p.PreProcessHead = compileProgramText(p.PreProcessProgramTextHead, 0, definitions);
    zel::walkProgramText(reader, p.PostProcessProgramTextHead, 0);
    p.PostProcessHead = compileProgramText(p.PostProcessProgramTextHead, 1, definitions);
}

void readClassifier(zel::FeatureReader& reader, ZELFeatureMaskType& mask)
{
    ZELClassifierList& c = *ZELFeatureNewClassifierListEntry(&mask);
    zel::readFeatureHeader(reader, *c.Parameters);
    int byteCount = 0;
    walkClassifier(reader, c, byteCount);
    zel::readClassifierData(reader, c, byteCount);
}

// ---- Writing ----

void renewHeader(InfoStruct& header)
{
    zel::setString(header.IdentifierString, maskIdentifier);
    zel::setString(header.VersionNumber, maskVersion);
    char* now = zel::currentDateTime();
    zel::release(header.DateTimeString);
    header.DateTimeString = now;
}

void writeClassifier(zel::FeatureWriter& writer, ZELClassifierList& c)
{
    zel::writeFeatureHeader(writer, *c.Parameters);
    int byteCount = c.ClassifierByteCount;
    walkClassifier(writer, c, byteCount);
    if (byteCount > 0) writer.array("classifier bytes", c.Classifier, byteCount);
}

}  // namespace

namespace zel {

void readClassifierData(FeatureReader& reader, ZELClassifierList& c, int byteCount)
{
    if (byteCount == 0) return;
    c.Classifier = allocate<unsigned char>(static_cast<std::size_t>(byteCount));
    if (!c.Classifier) {
        printError(message("ZELFeatureReadMask: calloc error 2\n"));
        failWithError("ClassifierByteCount = %d ClassifierType = %d\n", byteCount,
                      c.ClassifierType);
    }
    c.ClassifierByteCount = byteCount;
    reader.array("classifier bytes", c.Classifier, byteCount);
}

bool isComplete(const ZELFeatureMaskType& mask)
{
    for (const ZELClassifierList* c = mask.ClassifierListHead; c; c = c->next) {
        const ZELParameterStruct& p = *c->Parameters;
        if (p.Features.num < 1 || !p.FeatureInfo.Max || !p.FeatureInfo.Min) return false;
    }
    return true;
}

ZELFeatureMaskType* readMaskFile(FeatureReader& reader, std::int32_t classifiers)
{
    const std::int64_t start = reader.position() - static_cast<std::int64_t>(sizeof classifiers);
    OwnedMask mask(ZELFeatureAllocateNewMask(0));
    readIdentifier(reader, *mask);
    reader.bound("classifiers", classifiers, minClassifierSize, start);
    walkMaskHeader(reader, *mask);
    ZELMaskParameterType& p = mask->MaskParameters;
    CommandStruct& conditions =
        filterConditions(p, "ZELFeatureReadMask: cannot allocate memory for FilterConditions\n");
    walkFilters(reader, p, conditions);
    readPrograms(reader, p, conditions.ListHead);
    walkMaskEnd(reader, p, conditions.ListHead);
    for (int i = 0; i < classifiers; ++i) readClassifier(reader, *mask);
    return mask.release();
}

}  // namespace zel

ZELFeatureMaskType* ZELFeatureReadMask(FILE* fptr)
{
    return zel::readFeatures(fptr, [](zel::FeatureReader& reader) {
        std::int32_t classifiers = 0;
        reader.field("classifiers", classifiers);
        return classifiers == 0 ? nullptr : zel::readMaskFile(reader, classifiers);
    });
}

void ZELFeatureWriteMask(ZELFeatureMaskType* mask, FILE* fptr)
{
    zel::FeatureWriter writer(fptr);
    writer.count("classifiers", mask ? mask->numClassifiers : 0, 0);
    if (!mask) return;
    renewHeader(mask->Header);
    writer.string("mask identifier", mask->Header.IdentifierString);
    walkMaskHeader(writer, *mask);
    ZELMaskParameterType& p = mask->MaskParameters;
    CommandStruct none{};
    CommandStruct& conditions = p.FilterConditions ? *p.FilterConditions : none;
    walkFilters(writer, p, conditions);
    ZELFeatureWriteProgramText(fptr, p.PreProcessProgramTextHead);
    ZELFeatureWriteProgramText(fptr, p.PostProcessProgramTextHead);
    walkMaskEnd(writer, p, conditions.ListHead);
    for (ZELClassifierList* c = mask->ClassifierListHead; c; c = c->next)
        writeClassifier(writer, *c);
}

void ZELFeatureSaveMask(ZELFeatureMaskType* mask, const char* filename)
{
    if (mask && zel::isInput(mask->MaskParameters.IO, filename))
        zel::failWithError("ZELFeatureSaveMask: error: output file %s is one of the input files\n",
                           filename);
    if (mask && !zel::isComplete(*mask))
        zel::failWithError(
            "ZELFeatureSaveMask: a classifier has no features, or no ranges of them\n");
    zel::OpenedFile stream(std::fopen(filename, "w+b"));
    if (!stream) zel::failWithError("ZELFeatureSaveMask: cannot open output file %s\n", filename);
    ZELFeatureWriteMask(mask, stream.get());
    errno = 0;
    const bool failed = std::ferror(stream.get()) != 0;
    if (std::fclose(stream.release()) != 0 || failed)
        zel::failWithError("ZELFeatureSaveMask: write error on file %s\n", filename);
}
