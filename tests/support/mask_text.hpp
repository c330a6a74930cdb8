// Masks as text, field by field, to compare them; and masks that free themselves.
#pragma once

#include <map>
#include <memory>
#include <sstream>
#include <string>

#include "support/mask_bytes.hpp"
#include "support/parameters.hpp"

namespace zel_test {

struct FreeMask {
    void operator()(ZELFeatureMaskType* mask) const { ZELFeatureFreeMask(mask); }
};
using OwnedMask = std::unique_ptr<ZELFeatureMaskType, FreeMask>;

// Every field of a mask and of all that it owns, a line each; what is null is "(none)", or "" where
// it is a text that has been through a file. Neither the date of writing nor places in the file.
class MaskText {
public:
    explicit MaskText(const ZELFeatureMaskType* mask)
    {
        if (mask) addMask(*mask);
    }
    std::string all() const { return out_.str(); }

private:
    void add(const std::string& name, const std::string& value)
    {
        out_ << path_ << name << " = " << value << '\n';
    }
    void add(const std::string& name, const char* value)
    {
        add(name, std::string(value ? value : ""));
    }
    void add(const std::string& name, int value) { add(name, std::to_string(value)); }

    // Adds what the function adds, one level down.
    template <class Add>
    void within(const std::string& name, Add function)
    {
        const std::string outer = path_;
        path_ += name + ".";
        function();
        path_ = outer;
    }

    void addStack(const std::string& name, const ZELStackStruct* stack)
    {
        add(name, stack ? text(stack->expression) : std::string("(none)"));
        add(name + " elements", elements(stack));
        add(name + " number", stack ? stack->numStackElements : 0);
    }

    void addList(const std::string& name, const CommandStruct& list)
    {
        add(name, list.num);
        const CommandListStruct* last = nullptr;
        int i = 0;
        for (const CommandListStruct* e = list.ListHead; e; last = e, e = e->next)
            within(name + " " + std::to_string(i++), [&] {
                add("label", e->Label);
                add("label present", e->Label ? 1 : 0);
                addStack("condition", e->Condition);
                addStack("action", e->Action);
            });
        add(name + " ends with its tail", last == list.List ? 1 : 0);
    }

    void addProgramText(const std::string& name, const ProgramLines* line)
    {
        int i = 0;
        for (; line; line = line->next) add(name + " " + std::to_string(++i), line->text);
    }

    // Statements are numbered, so that their successors can be named.
    void addProgram(const std::string& name, const ProgramStruct* first)
    {
        std::map<const ProgramStruct*, int> numbers{{nullptr, 0}};
        int count = 0;
        for (const ProgramStruct* s = first; s; s = s->next) numbers[s] = ++count;
        for (const ProgramStruct* s = first; s; s = s->next)
            within(name + " " + std::to_string(numbers[s]), [&] {
                add("kind", s->statementType);
                addStack("statement", s->Statement);
                addStack("classes", s->ClassList);
                add("previous", numbers.at(s->previous));
                add("true", numbers.at(s->nextTrue));
                add("false", numbers.at(s->nextFalse));
            });
    }

    void addRules(const ZELMaskParameterType& p)
    {
        addFiles(p.IO);
        addList("conditions", p.FilterConditions ? *p.FilterConditions : CommandStruct{});
        addList("pre-class filters", p.PreClassFilters);
        addList("post-class filters", p.PostClassFilters);
        addList("comments", p.Comments);
        addList("title", p.Title);
        addProgramText("preprocess text", p.PreProcessProgramTextHead);
        addProgramText("postprocess text", p.PostProcessProgramTextHead);
        addProgram("preprocess", p.PreProcessHead);
        addProgram("postprocess", p.PostProcessHead);
        add("type", p.MaskType);
    }

    void addFiles(const IOStruct& io)
    {
        add("output", io.outputFilename);
        add("inputs", io.numInputFiles);
        for (const InputStruct* i = io.inputListHead; i; i = i->next) add("input", i->Filename);
    }

    void addClassInfo(const ZELClassStruct& classes)
    {
        for (int i = 0; i < ZEL_FEATURE_NUM_CLASSES; ++i) {
            std::ostringstream values;
            values << (classes.name[i] ? classes.name[i] : "") << " " << classes.Red[i] << " "
                   << classes.Green[i] << " " << classes.Blue[i] << " " << classes.Count[i];
            add("class " + std::to_string(i), values.str());
        }
    }

    void addTraining(const ZELParameterStruct& p)
    {
        add("identifier", p.Header.IdentifierString);
        add("version", p.Header.VersionNumber);
        add("date", p.Header.DateTimeString);
        addFiles(p.IO);
        addList("features", p.Features);
        addList("conditions", p.Conditions);
        addList("requirements", p.Requirements);
        addList("filters", p.Filters);
        addList("comments", p.Comments);
        addList("title", p.Title);
        addList("options", p.Options);
        add("seed", p.RandomSeed);
        addClassInfo(p.ClassInfo);
        for (int i = 0; i < p.Features.num; ++i) {
            std::ostringstream values;
            values << p.FeatureInfo.Label[i] << " " << p.FeatureInfo.Max[i] << " "
                   << p.FeatureInfo.Min[i];
            add("feature " + std::to_string(i), values.str());
        }
        add("subsampling", p.SubSamplingMethod);
        add("class type", p.ClassType);
        add("data type", p.DataType);
        add("ignore requirements", p.IgnoreRequirementFlag);
    }

    void addClassifier(const ZELClassifierList& c)
    {
        addTraining(*c.Parameters);
        add("bytes", c.ClassifierByteCount);
        add("type", c.ClassifierType);
        add("level", c.ClassifierLevel);
        add("index", c.ClassifierIndex);
        std::string data;
        for (int i = 0; c.Classifier && i < c.ClassifierByteCount; ++i)
            data += std::to_string(c.Classifier[i]) + " ";
        add("data", c.Classifier ? data : std::string("(none)"));
    }

    void addMask(const ZELFeatureMaskType& m)
    {
        add("identifier", m.Header.IdentifierString);
        add("version", m.Header.VersionNumber);
        add("channel", m.ZELChannelIndex);
        add("label", m.ZELChannelLabel);
        add("comment", m.ZELChannelComment);
        addRules(m.MaskParameters);
        add("classifiers", m.numClassifiers);
        const ZELClassifierList* last = nullptr;
        int i = 0;
        for (const ZELClassifierList* c = m.ClassifierListHead; c; last = c, c = c->next)
            within("classifier " + std::to_string(i++), [&] { addClassifier(*c); });
        add("last classifier ends the list", last == m.ClassifierList ? 1 : 0);
    }

    std::ostringstream out_;
    std::string path_;
};

inline std::string textOf(const ZELFeatureMaskType* mask)
{
    return MaskText(mask).all();
}

// A mask read from bytes.
class ReadMask {
public:
    explicit ReadMask(const Bytes& bytes) : stream(bytes)
    {
        outcome = runFeature([this] { mask.reset(ZELFeatureReadMask(stream)); });
    }
    ZELFeatureMaskType* operator->() { return mask.get(); }
    ZELMaskParameterType& rules() { return mask->MaskParameters; }

    Stream stream;
    OwnedMask mask;
    Outcome outcome;
};

inline Bytes written(ZELFeatureMaskType* mask)
{
    const Stream stream;
    ZELFeatureWriteMask(mask, stream);
    return stream.bytes();
}

// A record without the class counts in the headers of its classifiers, which are never written.
inline MaskRecord uncounted(MaskRecord record)
{
    for (ClassifierRecord& classifier : record.classifiers) classifier.header.counts.clear();
    return record;
}

// The bytes that the mask which was read from a record is written as: the date is that of writing.
inline Bytes asWritten(const ZELFeatureMaskType* mask, const MaskRecord& record)
{
    MaskRecord written = uncounted(record);
    written.date = mask->Header.DateTimeString;
    return build(written).bytes;
}

}  // namespace zel_test
